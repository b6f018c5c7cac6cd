#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>

// SHA-256 by the system's own cryptography.
class Sha256
{
public:
    Sha256();

    void Add(std::span<const std::byte> Data); // less than 4 GiB
    std::string Finish();                      // in hexadecimal; nothing can be added afterwards

private:
    std::unique_ptr<void, void (*)(void*)> m_hHash;
};

std::string HashOf(std::string_view sText); // its SHA-256 in hexadecimal

std::string RandomId();
