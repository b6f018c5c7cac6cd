#include "host/Hash.h"

#include <stdexcept>
#include <windows.h>

#include <bcrypt.h>

namespace {

void Check(NTSTATUS lStatus, const char* pAction)
{
    if (lStatus < 0)
        throw std::runtime_error(std::string(pAction) + " failed");
}

// Open for as long as the process runs.
BCRYPT_ALG_HANDLE Sha256Provider()
{
    static const BCRYPT_ALG_HANDLE hProvider = [] {
        BCRYPT_ALG_HANDLE hOpened = nullptr;
        Check(BCryptOpenAlgorithmProvider(&hOpened, BCRYPT_SHA256_ALGORITHM, nullptr, 0),
              "BCryptOpenAlgorithmProvider(SHA256)");
        return hOpened;
    }();
    return hProvider;
}

// CNG takes its input through pointers that are not const, and leaves it alone.
PUCHAR Bytes(std::span<const std::byte> Data)
{
    return const_cast<PUCHAR>(reinterpret_cast<const UCHAR*>(Data.data()));
}

} // namespace

void Sha256::DestroyHash::operator()(void* hHash) const { BCryptDestroyHash(hHash); }

Sha256::Sha256()
{
    BCRYPT_HASH_HANDLE hHash = nullptr;
    Check(BCryptCreateHash(Sha256Provider(), &hHash, nullptr, 0, nullptr, 0, 0), "BCryptCreateHash");
    m_hHash.reset(hHash);
}

void Sha256::Add(std::span<const std::byte> Data)
{
    Check(BCryptHashData(m_hHash.get(), Bytes(Data), static_cast<ULONG>(Data.size()), 0), "BCryptHashData");
}

Sha256Digest Sha256::Finish()
{
    Sha256Digest Digest{};
    Check(BCryptFinishHash(m_hHash.get(), Bytes(Digest), static_cast<ULONG>(Digest.size()), 0),
          "BCryptFinishHash");
    return Digest;
}

Sha256Digest Sha256Of(std::span<const std::byte> Data)
{
    Sha256 Hash;
    Hash.Add(Data);
    return Hash.Finish();
}

void FillWithRandom(std::span<std::byte> Data)
{
    Check(BCryptGenRandom(nullptr, Bytes(Data), static_cast<ULONG>(Data.size()),
                          BCRYPT_USE_SYSTEM_PREFERRED_RNG),
          "BCryptGenRandom");
}
