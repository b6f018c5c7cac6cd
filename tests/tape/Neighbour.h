#pragma once

#include <string>
#include <windows.h>

// What a test and the other program have in common.
namespace neighbour {

inline constexpr const wchar_t* READY = L"zdv neighbour is ready";
inline constexpr const wchar_t* MET = L"zdv neighbour has met somebody";
inline constexpr const wchar_t* STOP = L"zdv neighbour may stop";

enum Result
{
    DONE, // a host's transfer is whole, a stranger got nothing
    FAILED,
    TOOK_DATA,
};

} // namespace neighbour

// The program of tests/tape/neighbour_program.cpp in one of its roles. The constructor waits until it is ready.
class Neighbour
{
public:
    explicit Neighbour(const std::wstring& sRole);
    Neighbour(const Neighbour&) = delete;
    Neighbour& operator=(const Neighbour&) = delete;
    ~Neighbour();

    // Whether the stranger has met somebody at a pipe.
    bool HasMet() const { return WaitForSingleObject(m_hMet, 0) == WAIT_OBJECT_0; }
    // Stops it, and waits for its end.
    neighbour::Result Stop();

private:
    HANDLE m_hReady, m_hMet, m_hStop;
    PROCESS_INFORMATION m_Process{};
};
