#include "interface/Entry.h"

#include <exception>

void TraceException(const quorvel::FunctionTrace& Trace) noexcept
{
    try
    {
        throw;
    }
    catch (const std::exception& Exception)
    {
        Trace.Text(quorvel::Level::Error, L"Exception.what()", Exception.what());
    }
    catch (...)
    {
        Trace.Error(L"unknown exception");
    }
}
