#include "tests/tape/Tape.h"

#include "tests/tape/Server.h"

#include <cstdlib>
#include <stdexcept>

Blocks SomeBlocks(std::size_t uiCount, unsigned uiSeed)
{
    Blocks aBlocks(uiCount * ZDV_BLOCK_SIZE);
    std::uint32_t uiState = uiSeed * 2654435761u + 1;
    for (char& c : aBlocks)
    {
        uiState = uiState * 1664525u + 1013904223u;
        c = static_cast<char>(uiState >> 24);
    }
    return aBlocks;
}

namespace {

// For the calls that no server can make fail.
void Check(ZDV_STATUS uiRc, const char* sCall)
{
    if (uiRc != ZDV_SUCCESS)
        throw std::runtime_error(std::string(sCall) + " failed");
}

} // namespace

Tape::Tape(const std::wstring& sRoot)
{
    Check(m_Module.Open(&m_Handle), "ZDV_Open");
    Set(ZDV_FTP_SERVERNAME, server::Variable(L"ZDV_TEST_SERVER"));
    Set(ZDV_FTP_PORT, server::Variable(L"ZDV_TEST_PORT"));
    Set(ZDV_FTP_USERNAME, server::Variable(L"ZDV_TEST_USER"));
    Set(ZDV_FTP_PASSWORD, server::Variable(L"ZDV_TEST_PASSWORD"));
    Set(ZDV_FTP_ROOT, sRoot);
}

void Tape::Set(std::int32_t uiCategory, const std::wstring& sValue)
{
    Check(m_Module.SetDeviceOptions(m_Handle, uiCategory, sValue.c_str()), "ZDV_SetDeviceOptions");
}

void Tape::AskForBackup(const std::wstring& sTime)
{
    Check(m_Module.SetInfo(m_Handle, ZDV_BACKUP_VERSION, sTime.c_str(),
                           static_cast<std::uint32_t>(sTime.size() + 1)),
          "ZDV_SetInfo");
}

ZDV_STATUS Tape::Write(const Blocks& aBlocks)
{
    return m_Module.WriteData(m_Handle, static_cast<std::uint32_t>(aBlocks.size()), aBlocks.data());
}

std::uint32_t Tape::Filemark()
{
    Check(WriteFilemarks(1), "ZDV_MediaAccess");
    return ErrorCode();
}

ZDV_STATUS Tape::WriteObject(const Blocks& aBlocks)
{
    const ZDV_STATUS uiRc = Write(aBlocks);
    return Filemark() == 0 ? uiRc : ZDV_DEVICE_ERROR;
}

ZDV_STATUS Tape::Read(std::size_t uiCount, Blocks& aBlocks)
{
    aBlocks.assign(uiCount * ZDV_BLOCK_SIZE, static_cast<char>(0xEE));
    return Fill(aBlocks);
}

ZDV_STATUS Tape::Fill(Blocks& aBlocks)
{
    return m_Module.ReadData(m_Handle, static_cast<std::uint32_t>(aBlocks.size()), aBlocks.data());
}

std::uint32_t Tape::Property(std::uint32_t uiCategory)
{
    std::uint32_t uiValue = 0;
    Check(m_Module.GetProperty(m_Handle, uiCategory, &uiValue), "ZDV_GetProperty");
    return uiValue;
}

std::wstring Tape::ErrorText()
{
    wchar_t aText[512] = L"";
    Check(m_Module.GetInfo(m_Handle, ZDV_GI_SPECIFIC_ERROR_MSG, aText,
                           static_cast<std::uint32_t>(std::size(aText))),
          "ZDV_GetInfo");
    return aText;
}

std::vector<std::wstring> Tape::Versions()
{
    ZDV_LIST List{};
    List.uiSignature = ZDV_LIST_SIGNATURE;
    Check(m_Module.GetList(m_Handle, ZDV_GL_VERSION_DATE, &List), "ZDV_GetList");
    std::vector<std::wstring> aLabels;
    for (ZDV_LIST_NODE* pNode = List.pFirst; pNode != nullptr;)
    {
        const ZDV_VERSION_DATE& Date = pNode->Date;
        wchar_t aLabel[32];
        swprintf(aLabel, std::size(aLabel), L"ZELT_%04d%02d%02d%02d%02d%02d", Date.iYear + 1900,
                 Date.iMon + 1, Date.iMday, Date.iHour, Date.iMin, Date.iSec);
        aLabels.push_back(aLabel);
        ZDV_LIST_NODE* const pNext = pNode->pNext;
        std::free(pNode);
        pNode = pNext;
    }
    return aLabels;
}
