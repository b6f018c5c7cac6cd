#include "tests/tape/Neighbour.h"

#include <stdexcept>

Neighbour::Neighbour(const std::wstring& sRole)
    : m_hReady(CreateEventW(nullptr, TRUE, FALSE, neighbour::READY)),
      m_hMet(CreateEventW(nullptr, TRUE, FALSE, neighbour::MET)),
      m_hStop(CreateEventW(nullptr, TRUE, FALSE, neighbour::STOP))
{
    STARTUPINFOW Startup{};
    Startup.cb = sizeof(Startup);
    std::wstring sCommand = L"neighbour.exe \"" + sRole + L"\"";
    if (!CreateProcessW(nullptr, sCommand.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &Startup,
                        &m_Process))
        throw std::runtime_error("neighbour.exe cannot be started");
    const HANDLE aFirst[] = {m_hReady, m_Process.hProcess};
    if (WaitForMultipleObjects(2, aFirst, FALSE, INFINITE) != WAIT_OBJECT_0)
        throw std::runtime_error("the neighbour has ended early");
}

Neighbour::~Neighbour()
{
    TerminateProcess(m_Process.hProcess, neighbour::FAILED);
    for (const HANDLE hOwned : {m_Process.hThread, m_Process.hProcess, m_hStop, m_hMet, m_hReady})
        CloseHandle(hOwned);
}

neighbour::Result Neighbour::Stop()
{
    SetEvent(m_hStop);
    WaitForSingleObject(m_Process.hProcess, INFINITE);
    DWORD dwResult = neighbour::FAILED;
    GetExitCodeProcess(m_Process.hProcess, &dwResult);
    return static_cast<neighbour::Result>(dwResult);
}
