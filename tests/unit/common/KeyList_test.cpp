#include "common/KeyList.h"

#include <gtest/gtest.h>

using quorvel::FindKeys;
using quorvel::ListedKeys;

namespace {

const std::string SSH = "SHA256:uF8xAbcdefghijklmnopqrstuvwxyz0123456789+/A";
const std::string TLS = "sha256//9yB5Abcdefghijklmnopqrstuvwxyz0123456789+/A=";
const std::string SECTION = "[Server Keys]\n";
constexpr std::size_t UNLISTED = 99;
constexpr std::size_t DAMAGED = 100;

std::string Utf16(const std::string& sText)
{
    std::string sWide = "\xFF\xFE";
    for (const char c : sText)
        sWide.append({c, '\0'});
    return sWide;
}

std::string Many(std::size_t uiCount)
{
    std::string sKeys;
    while (uiCount-- > 0)
        sKeys += ' ' + TLS;
    return sKeys;
}

} // namespace

TEST(KeyList, IsReadOrRefusedButNeverPassedOver)
{
    const struct
    {
        std::string sSettings;
        std::size_t uiKeys; // of the server at port 22
        const char* sServer = "Nas";
    } CASES[] = {
        {"; [Server Keys]\n; nas = " + SSH, UNLISTED},
        {"[File Locations]\nLogfiles=C:\\x\nnas = nonsense\n[Main]\n", UNLISTED},
        {SECTION + "; nas = nonsense\n\n[Main]\nnas = nonsense", UNLISTED},
        {"[Main]\nChecksum=SHA256:ab", UNLISTED},
        {SECTION + "nas2 = " + SSH + "\nnas:990 = " + SSH, UNLISTED},
        {SECTION + "fd00::7:22 = " + SSH, UNLISTED, "[fd00::7]"},
        // The server, however it is written
        {"[a]\nb=c\n\xEF\xBB\xBF" + SECTION + "nas = " + SSH, 1},
        {"[SERVER KEYS] ; ours\r\n  NAS=\t" + SSH + "  " + TLS + " \r\n[a]\r\nb", 2},
        {SECTION + "nas:22 = " + SSH + "\nx = ?\nnas = " + TLS, 2},
        {SECTION + "[fd00::7]:22 = " + SSH + "\n[FD00:0:0::0007] = " + SSH + "\nfd00::7 = " + TLS, 3,
         "[fd00::7]"},
        {SECTION + "10.0.0.7 = " + SSH + "\n10.7 = " + SSH, 2, "0xA.0.0.7"},
        {SECTION + "nas =" + Many(3000) + "\n", 3000},
        {SECTION + "nas. = ?", 1},
        {SECTION + "[fd00::7 = " + SSH + "\nnas = " + SSH, 1, "[fd00:0::7]"},
        {SECTION + "* = required", 0},
        {SECTION + "* = required\nnas = " + SSH, 1},
        // What editors make of the file
        {"\xEF\xBB\xBF" + SECTION + "nas = " + SSH, 1},
        {Utf16(SECTION + "nas = " + SSH), 1},
        {"[Server Keys]\rnas = " + SSH + "\r", 1},
        {Utf16(SECTION).substr(2), DAMAGED},
        // Damage, in another server's line too
        {SECTION + "nas = SHA256:short", DAMAGED},
        {SECTION + "nas = " + SSH + "=", DAMAGED},
        {SECTION + "nas = " + SSH.substr(7), DAMAGED},
        {SECTION + "nas = " + TLS.substr(0, TLS.size() - 1), DAMAGED},
        {SECTION + "nas = " + SSH + " ; its key", DAMAGED},
        {SECTION + "nas = " + SSH + " ?", DAMAGED},
        {SECTION + "nas = " + SSH + "\nx = SHA256:" + std::string(43, '-'), DAMAGED},
        {SECTION + "nas =", DAMAGED},
        {SECTION + "nas", DAMAGED},
        {SECTION + "= " + SSH, DAMAGED},
        {SECTION + "na s = " + SSH, DAMAGED},
        {SECTION + "nas:ssh = " + SSH, DAMAGED},
        {SECTION + "nas: = " + SSH, DAMAGED},
        {SECTION + "n\xE4s = " + SSH, DAMAGED},
        {SECTION + "nas = required", DAMAGED},
        {SECTION + "[nas\nnas = " + SSH, DAMAGED},
        {SECTION + "[fd00::7] " + SSH, DAMAGED},
        {SECTION + "[10.0.0.7] ?\nnas = " + SSH, DAMAGED},
        {"[Server Keys\nnas = " + SSH, DAMAGED},
        {"[Server Keys] nas = " + SSH, DAMAGED},
        {"[Main] nas=" + SSH, DAMAGED},
        {"[Sever Keys]\n* = required", DAMAGED},
        {SECTION + "nas:022 = " + SSH, DAMAGED},
        {SECTION + "nas:65536 = " + SSH, DAMAGED},
        {SECTION + "[*] = required", DAMAGED},
        {SECTION + "*. = required", DAMAGED},
        {"[Server Key]\nnas = " + SSH, DAMAGED},
        {SECTION + "* = " + SSH, DAMAGED},
        {SECTION + "*:22 = required", DAMAGED},
        {SECTION + "nas = " + SSH + "\n[x]\n" + SECTION + "nas = " + TLS, DAMAGED},
    };
    for (const auto& Case : CASES)
    {
        const ListedKeys Found = FindKeys(Case.sSettings, Case.sServer + std::string(":22"));
        EXPECT_EQ(Found.bListed, Case.uiKeys != UNLISTED) << Case.sSettings;
        EXPECT_EQ(!Found.sDamage.empty(), Case.uiKeys == DAMAGED) << Case.sSettings;
        EXPECT_EQ(Found.aKeys.size(), Case.uiKeys < UNLISTED || Case.uiKeys > DAMAGED ? Case.uiKeys : 0)
            << Case.sSettings;
    }
}
