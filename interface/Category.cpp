#include "interface/Category.h"

#include <cstdio>

ZDV_STATUS InvalidCategory(const quorvel::FunctionTrace& Caller, std::uint32_t uiCategory)
{
    const quorvel::FunctionTrace Trace = quorvel::FunctionTrace::Started(L"InvalidCategory");
    char aFunction[64]; // log text fixed: the name is traced as narrow text
    snprintf(aFunction, sizeof(aFunction), "%ls", Caller.Name());
    Trace.Text(L"pFunction", aFunction);
    Trace.Number(L"uiCategory", uiCategory);
    Trace.Warning(L"... ending(ZDV_FUNCTION_NOT_SUPPORTED)");
    return ZDV_FUNCTION_NOT_SUPPORTED;
}
