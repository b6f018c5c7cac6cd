#pragma once

#include "common/FunctionTrace.h"
#include "device/Failure.h"
#include "device/ServerCheck.h"

#include <cstdint>
#include <curl/curl.h>
#include <string>
#include <type_traits>

// Where a refused option's code is traced, and under which name. Without a place it is not traced.
struct RefusalTrace
{
    const wchar_t* sPlace = nullptr;
    const wchar_t* sName = L"enCurlRc";
};

// A sequence of libcurl calls on one handle. After the first that fails, none is made or traced.
class CurlCalls
{
public:
    CurlCalls(CURL* pCurl, const quorvel::FunctionTrace& Trace) : m_pCurl(pCurl), m_Trace(Trace) {}

    // Any call: call(CURL*) gives libcurl's result. sFailure is the last error's text; sStep is traced before
    // the call.
    template <typename Function>
    void Call(const Function& call, const wchar_t* sFailure, const wchar_t* sStep = nullptr)
    {
        if (!Succeeded())
            return;
        if (sStep != nullptr)
            m_Trace.Verbose(sStep);
        m_enCurlRc = call(m_pCurl);
        m_sRefusal = TakeRefusal(m_pCurl, m_enCurlRc);
        m_sFailure = sFailure;
    }

    template <typename Value>
    void Set(CURLoption enOption, Value value, const wchar_t* sFailure, const wchar_t* sStep = nullptr)
    {
        // libcurl reads its argument as one of these types, whatever was passed.
        static_assert(std::is_same_v<Value, long> || std::is_pointer_v<Value> ||
                      std::is_null_pointer_v<Value>);
        Call([&](CURL* pCurl) { return curl_easy_setopt(pCurl, enOption, value); }, sFailure, sStep);
    }

    // The URL of the request, traced as sName.
    void SetUrl(const std::wstring& sURL, const wchar_t* sName, const wchar_t* sFailure);

    // An option that the calls after it can do without.
    template <typename Value>
    void Try(CURLoption enOption, Value value, const RefusalTrace& Refusal = {},
             const wchar_t* sStep = nullptr)
    {
        if (!Succeeded())
            return;
        CurlCalls Single(m_pCurl, m_Trace);
        Single.Set(enOption, value, nullptr, sStep);
        if (!Single.Succeeded() && Refusal.sPlace != nullptr)
            m_Trace.At(Refusal.sPlace).Number(quorvel::Level::Error, Refusal.sName, Single.Result());
    }

    // Whether all calls have succeeded.
    bool Succeeded() const { return m_enCurlRc == CURLE_OK; }
    std::uint32_t Result() const { return static_cast<std::uint32_t>(m_enCurlRc); }
    const wchar_t* FailureText() const { return m_sFailure; }
    // Which call failed, and why. Only after a failure; valid for as long as this object lives.
    Failure Reason() const { return {Result(), m_sFailure, m_enCurlRc, m_sRefusal.c_str()}; }
    const quorvel::FunctionTrace& Trace() const { return m_Trace; }

private:
    CURL* m_pCurl;
    quorvel::FunctionTrace m_Trace;
    CURLcode m_enCurlRc = CURLE_OK;
    const wchar_t* m_sFailure = nullptr;
    std::wstring m_sRefusal;
};
