// ZDV_FTP.DLL, loaded, with its functions under the names of its header.
#pragma once

#include "interface/zdv.h"

#include <memory>
#include <windows.h>

class Module
{
public:
    Module(); // the file beside this program

private:
    struct Unload
    {
        void operator()(HMODULE hLibrary) const { FreeLibrary(hLibrary); }
    };

    // An address that takes the type of the pointer it is stored in.
    struct Address
    {
        FARPROC pFunction;
        template <typename Function> operator Function*() const
        {
            return reinterpret_cast<Function*>(reinterpret_cast<void*>(pFunction));
        }
    };

    Address Export(const char* pSymbol) const;

    std::unique_ptr<std::remove_pointer_t<HMODULE>, Unload> m_hLibrary;

public:
    decltype(&ZDV_Open) Open = Export("ZDV_O");
    decltype(&ZDV_Close) Close = Export("ZDV_C");
    decltype(&ZDV_Utility) Utility = Export("ZDV_U");
    decltype(&ZDV_SetDeviceOptionsW) SetDeviceOptionsW = Export("ZDV_SetDeviceOptionsW");
    decltype(&ZDV_GetInfoW) GetInfoW = Export("ZDV_GetInfoW");
    decltype(&ZDV_SetInfoW) SetInfoW = Export("ZDV_SetInfoW");
    decltype(&ZDV_GetProperty) GetProperty = Export("ZDV_GP");
    decltype(&ZDV_GetList) GetList = Export("ZDV_GetList");
    decltype(&ZDV_WriteData) WriteData = Export("ZDV_WD");
    decltype(&ZDV_ReadData) ReadData = Export("ZDV_RD");
    decltype(&ZDV_MediaAccess) MediaAccess = Export("ZDV_MA");
    decltype(&ZDV_Position) Position = Export("ZDV_P");
};
