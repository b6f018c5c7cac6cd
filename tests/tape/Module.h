#pragma once

#include "interface/zdv.h"

#include <stdexcept>
#include <string>
#include <windows.h>

// ZDV_FTP.DLL, loaded as a host loads it.
class Module
{
public:
    Module() : m_hModule(LoadLibraryW(L"ZDV_FTP.DLL"))
    {
        if (m_hModule == nullptr)
            throw std::runtime_error("ZDV_FTP.DLL cannot be loaded: " + std::to_string(GetLastError()));
        Resolve(Open, "ZDV_O");
        Resolve(Close, "ZDV_C");
        Resolve(Utility, "ZDV_U");
        Resolve(SetDeviceOptions, "ZDV_SetDeviceOptionsW");
        Resolve(GetInfo, "ZDV_GetInfoW");
        Resolve(SetInfo, "ZDV_SetInfoW");
        Resolve(GetProperty, "ZDV_GP");
        Resolve(GetList, "ZDV_GetList");
        Resolve(WriteData, "ZDV_WD");
        Resolve(ReadData, "ZDV_RD");
        Resolve(MediaAccess, "ZDV_MA");
        Resolve(Position, "ZDV_P");
    }
    Module(const Module&) = delete;
    Module& operator=(const Module&) = delete;
    ~Module() { FreeLibrary(m_hModule); }

    decltype(&ZDV_Open) Open;
    decltype(&ZDV_Close) Close;
    decltype(&ZDV_Utility) Utility;
    decltype(&ZDV_SetDeviceOptionsW) SetDeviceOptions;
    decltype(&ZDV_GetInfoW) GetInfo;
    decltype(&ZDV_SetInfoW) SetInfo;
    decltype(&ZDV_GetProperty) GetProperty;
    decltype(&ZDV_GetList) GetList;
    decltype(&ZDV_WriteData) WriteData;
    decltype(&ZDV_ReadData) ReadData;
    decltype(&ZDV_MediaAccess) MediaAccess;
    decltype(&ZDV_Position) Position;

private:
    template <typename Function> void Resolve(Function& function, const char* sSymbol)
    {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(m_hModule, sSymbol)));
        if (function == nullptr)
            throw std::runtime_error(std::string("ZDV_FTP.DLL lacks ") + sSymbol);
    }

    HMODULE m_hModule;
};
