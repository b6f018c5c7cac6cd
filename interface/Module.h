// ZDV_FTP.DLL's functions, found as hosts find them: under their exported symbols.
#pragma once

#include "interface/zdv.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <windows.h>

class Module
{
    std::unique_ptr<std::remove_pointer_t<HMODULE>, decltype(&FreeLibrary)> m_hLibrary;

    // Converts to the type of the pointer that it is stored in.
    struct Address
    {
        FARPROC pFunction;
        template <typename Function> operator Function*() const
        {
            return reinterpret_cast<Function*>(reinterpret_cast<void*>(pFunction));
        }
    };

    Address Export(const char* pSymbol) const
    {
        const FARPROC pFunction = m_hLibrary ? GetProcAddress(m_hLibrary.get(), pSymbol) : nullptr;
        if (pFunction == nullptr)
            throw std::runtime_error(std::string("ZDV_FTP.DLL does not export ") + pSymbol +
                                     ": use the one that came with this program.");
        return {pFunction};
    }

public:
    // Owns the library. Throws std::runtime_error if the library or a function is missing.
    explicit Module(HMODULE hLibrary) : m_hLibrary(hLibrary, FreeLibrary) {}

    decltype(&ZDV_Open) Open = Export("ZDV_O");
    decltype(&ZDV_Close) Close = Export("ZDV_C");
    decltype(&ZDV_Utility) Utility = Export("ZDV_U");
    decltype(&ZDV_SetDeviceOptionsW) SetDeviceOptions = Export("ZDV_SetDeviceOptionsW");
    decltype(&ZDV_GetInfoW) GetInfo = Export("ZDV_GetInfoW");
    decltype(&ZDV_SetInfoW) SetInfo = Export("ZDV_SetInfoW");
    decltype(&ZDV_GetProperty) GetProperty = Export("ZDV_GP");
    decltype(&ZDV_GetList) GetList = Export("ZDV_GetList");
    decltype(&ZDV_WriteData) WriteData = Export("ZDV_WD");
    decltype(&ZDV_ReadData) ReadData = Export("ZDV_RD");
    decltype(&ZDV_MediaAccess) MediaAccess = Export("ZDV_MA");
    decltype(&ZDV_Position) Position = Export("ZDV_P");
};
