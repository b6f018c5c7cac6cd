#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <span>

using Sha256Digest = std::array<std::byte, 32>;

// SHA-256 by the system's own cryptography.
class Sha256
{
public:
    Sha256();

    void Add(std::span<const std::byte> Data);
    Sha256Digest Finish(); // nothing can be added afterwards

private:
    struct DestroyHash
    {
        void operator()(void* hHash) const;
    };
    std::unique_ptr<void, DestroyHash> m_hHash;
};

Sha256Digest Sha256Of(std::span<const std::byte> Data);

void FillWithRandom(std::span<std::byte> Data);
