#include "interface/FtpContext.h"

#include "common/FunctionTrace.h"
#include "device/Failure.h"
#include "device/PipeHandles.h"

using quorvel::FunctionTrace;
using quorvel::Level;

FtpContext::FtpContext()
{
    const FunctionTrace Trace = FunctionTrace::Started(L"FtpContext::FtpContext");
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
    {
        StoreFailure(*this, {ERROR_NOT_READY, L"curl_global_init(CURL_GLOBAL_DEFAULT) failed"});
        Trace.Text(Level::Error, L"m_sLastError", m_sLastError);
    }
    Trace.Text(L"sVersions", curl_version());
    Trace.Ending();
}

FtpContext::~FtpContext()
{
    const FunctionTrace Trace = FunctionTrace::Started(L"FtpContext::~FtpContext");
    if (CURL* const pCurl = m_pCurl)
        curl_easy_cleanup(pCurl);
    CloseServerEnd(m_hDownloadRead, Trace, L"Close Pipe(Download->Read)", m_hThread);
    CloseClientEnd(m_hDownloadWrite, Trace, L"Close Pipe(Download->Write)");
    CloseServerEnd(m_hUploadWrite, Trace, L"Close Pipe(Upload->Write)", m_hThread);
    CloseClientEnd(m_hUploadRead, Trace, L"Close Pipe(Upload->Read)");
    curl_global_cleanup();
    Trace.Ending();
}
