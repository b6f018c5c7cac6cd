#include "interface/InvalidCategory.h"

#include "common/FunctionTrace.h"

using quorvel::Level;

ZDV_STATUS InvalidCategory(const char* pFunction, std::uint32_t uiCategory)
{
    const quorvel::FunctionTrace Trace(L"InvalidCategory");
    Trace.Starting();
    Trace.Text(Level::Verbose, L"pFunction", pFunction);
    Trace.Number(Level::Verbose, L"uiCategory", uiCategory);
    Trace.Warning(L"... ending(ZDV_FUNCTION_NOT_SUPPORTED)");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}
