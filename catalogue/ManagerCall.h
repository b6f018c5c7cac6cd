#pragma once

#include "common/FunctionTrace.h"
#include "device/CurlCalls.h"

#include <string>
#include <windows.h>

// One call of a catalogue manager. It first clears the manager's two error fields. If it fails, they and the trace say
// why.
template <typename Manager> class ManagerCall
{
public:
    ManagerCall(Manager& manager, const wchar_t* sFunction, CURL* pCurl)
        : Trace(sFunction), Calls(pCurl, Trace), m_Manager(manager), m_bHasHandle(pCurl != nullptr)
    {
        m_Manager.m_dwLastError = ERROR_SUCCESS;
        m_Manager.m_sLastError.clear();
        Trace.Starting();
    }

    // Always false.
    bool Refuse(const wchar_t* sError, const wchar_t* sEnding)
    {
        StoreFailure(m_Manager, {ERROR_INVALID_PARAMETER, sError});
        return Trace.Failed(sEnding);
    }
    bool HasHandle()
    {
        return m_bHasHandle || Refuse(L"NULL cURL handle", L"... ending(Supplied handle is null)");
    }

    // The last step: whether all calls have succeeded.
    bool Finish()
    {
        if (!Calls.Succeeded())
        {
            StoreFailure(m_Manager, Calls.Reason());
            Trace.At(quorvel::ENDING).Text(quorvel::Level::Error, L"m_sLastError", m_Manager.m_sLastError);
            return false;
        }
        Trace.Ending();
        return true;
    }

    const quorvel::FunctionTrace Trace;
    CurlCalls Calls;

private:
    Manager& m_Manager;
    const bool m_bHasHandle;
};
