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
        quorvel::FunctionTrace(sFunction).Error(Exception.what());
    }
    catch (...)
    {
        quorvel::FunctionTrace(sFunction).Error(L"unknown exception");
    }
}
