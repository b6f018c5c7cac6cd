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
        // The log can fail for the same reason; then there is nothing left to tell it to.
        try
        {
            quorvel::FunctionTrace(sFunction).Error(Exception.what());
        }
        catch (...)
        {
            return;
        }
    }
    catch (...)
    {
        return;
    }
}
