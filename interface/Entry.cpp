#include "interface/Entry.h"

#include <exception>

void TraceException(const wchar_t* sFunction) noexcept
{
    try
    {
        throw;
    }
    catch (const std::exception& Exception)
    {
        quorvel::FunctionTrace(sFunction).Text(quorvel::Level::Error, L"Exception.what()", Exception.what());
    }
    catch (...)
    {
        quorvel::FunctionTrace(sFunction).Error(L"unknown exception");
    }
}
