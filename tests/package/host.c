// A host as others build one: in C, and as C++, linked with the import library, which also looks a function up. It
// needs no runtime library, so that any linker can make a program of it.
#include "zdv.h"

#include <windows.h>

#ifdef __cplusplus
extern "C" int Start(void);
#endif

// Returns the number of the first step that failed.
int Start(void)
{
    char szVersion[8] = "";
    ZDV_HANDLE Handle = 0;
    ZDV_VERSION_DATE Date = {5, 30, 14, 15, 2, 124, 5, 74, 0};
    ZDV_LIST_NODE Node = {NULL, NULL, sizeof(Date), Date};
    ZDV_LIST List = {ZDV_LIST_SIGNATURE, 0, 0, &Node, &Node, &Node, 1};
    __typeof__(&ZDV_Close) pClose;
    if (ZDV_GetModuleProperty(ZDV_GMP_VER, szVersion, sizeof(szVersion)) != ZDV_SUCCESS ||
        szVersion[0] != 'V')
        return 1;
    if (ZDV_Open(&Handle) != ZDV_SUCCESS)
        return 2;
    switch (ZDV_GetList(Handle, ZDV_GL_VERSION_DATE + 1, &List))
    {
    case ZDV_FUNCTION_NOT_SUPPORTED:
        break;
    default:
        return 3;
    }
    pClose = (__typeof__(pClose))(void (*)(void))GetProcAddress(GetModuleHandleA("ZDV_FTP.DLL"), "ZDV_C");
    return pClose(Handle) == ZDV_SUCCESS ? 0 : 4;
}
