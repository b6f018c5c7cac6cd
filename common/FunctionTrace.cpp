#include "common/FunctionTrace.h"

namespace quorvel {

void FunctionTrace::Exception() const noexcept
{
    try
    {
        throw;
    }
    catch (const std::exception& Caught)
    {
        Text(Level::Error, L"Exception.what()", Caught.what());
    }
    catch (...)
    {
        Error(L"unknown exception");
    }
}

} // namespace quorvel
