#include "host/Hash.h"

#include <array>
#include <fmt/format.h>
#include <stdexcept>
#include <windows.h>

#include <bcrypt.h>

namespace {

void Check(NTSTATUS lStatus)
{
    if (lStatus < 0)
        throw std::runtime_error("the system's cryptography failed");
}

// Open for as long as the process runs.
BCRYPT_ALG_HANDLE Provider(const wchar_t* pAlgorithm)
{
    BCRYPT_ALG_HANDLE hProvider = nullptr;
    Check(BCryptOpenAlgorithmProvider(&hProvider, pAlgorithm, nullptr, 0));
    return hProvider;
}

template <std::size_t SIZE> std::string Hexadecimal(const std::array<UCHAR, SIZE>& aData)
{
    return fmt::format("{:02x}", fmt::join(aData, ""));
}

} // namespace

Sha256::Sha256() : m_hHash(nullptr, [](void* hHash) { BCryptDestroyHash(hHash); })
{
    static const BCRYPT_ALG_HANDLE hProvider = Provider(BCRYPT_SHA256_ALGORITHM);
    BCRYPT_HASH_HANDLE hHash = nullptr;
    Check(BCryptCreateHash(hProvider, &hHash, nullptr, 0, nullptr, 0, 0));
    m_hHash.reset(hHash);
}

void Sha256::Add(std::span<const std::byte> Data)
{
    auto* const pData = const_cast<PUCHAR>(reinterpret_cast<const UCHAR*>(Data.data())); // not written to
    Check(BCryptHashData(m_hHash.get(), pData, static_cast<ULONG>(Data.size()), 0));
}

std::string Sha256::Finish()
{
    std::array<UCHAR, 32> aDigest{};
    Check(BCryptFinishHash(m_hHash.get(), aDigest.data(), aDigest.size(), 0));
    return Hexadecimal(aDigest);
}

std::string HashOf(std::string_view sText)
{
    Sha256 Hash;
    Hash.Add(std::as_bytes(std::span(sText)));
    return Hash.Finish();
}

std::string RandomId()
{
    std::array<UCHAR, 16> aId{};
    Check(BCryptGenRandom(nullptr, aId.data(), aId.size(), BCRYPT_USE_SYSTEM_PREFERRED_RNG));
    return Hexadecimal(aId);
}
