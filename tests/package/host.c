// A host as others build one: in C, and as C++, linked with the import library, which also looks a function up. It
// needs no runtime library, so that any linker can make a program of it.
#include "zdv.h"

#include <windows.h>

#include "example.c" // the header's own, on the test's server

#ifdef __cplusplus
extern "C" int Start(void);
#endif

static void Setting(const wchar_t* sName, wchar_t* sValue) { GetEnvironmentVariableW(sName, sValue, 99); }

static int Example(void)
{
    static const char aBlock[ZDV_BLOCK_SIZE] = "a volume header";
    static char aRead[ZDV_BLOCK_SIZE];
    static wchar_t aSettings[5][99], sError[99];
    uint32_t i;
    Setting(L"ZDV_TEST_SERVER", aSettings[0]);
    Setting(L"ZDV_TEST_PORT", aSettings[1]);
    Setting(L"ZDV_ROOT", aSettings[2]);
    Setting(L"ZDV_TEST_USER", aSettings[3]);
    Setting(L"ZDV_TEST_PASSWORD", aSettings[4]);
    if (WriteAndReadBack(aSettings[0], aSettings[1], aSettings[2], aSettings[3], L"wrong", aBlock, aRead,
                         sError, 99) != ZDV_DEVICE_ERROR ||
        sError[7] != L'C') // "Couldn't perform operation [Login denied]"
        return 0;
    if (WriteAndReadBack(aSettings[0], aSettings[1], aSettings[2], aSettings[3], aSettings[4], aBlock, aRead,
                         sError, 99) != ZDV_SUCCESS)
        return 0;
    for (i = 0; i < ZDV_BLOCK_SIZE; ++i)
        if (aRead[i] != aBlock[i])
            return 0;
    return 1;
}

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
    if (pClose(Handle) != ZDV_SUCCESS)
        return 4;
    return Example() ? 0 : 5;
}
