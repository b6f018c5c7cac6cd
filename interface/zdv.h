// ZDV_FTP.DLL: an FTP, FTPS or SFTP server as a tape drive. This header is the manual for hosts.
//
// A host written in C or C++ loads the library, looks its functions up under the exported symbols given with each
// of them (several are short: ZDV_WriteData is exported as "ZDV_WD") and calls them through pointers of the types
// declared here: decltype(&ZDV_WriteData) in C++, typeof(&ZDV_WriteData) in C. Or it is linked with the import
// library, which knows the functions by the names used here.
//
// Calling order
//   ZDV_Open, ZDV_SetDeviceOptions[W] once per key, ZDV_Utility(ZDV_U_MAKE_UNIT_READY); then data,
//   positioning and queries in any order; ZDV_Close. ZDV_GetModuleProperty[W] needs no handle and may be
//   called at any time. Nothing reaches the server before "Make Unit Ready". Change options only right
//   before making the device ready again.
//
// The tape
//   A backup is a version: a directory "ZELT_YYYYMMDDhhmmss" under the configured root. A tape file is an
//   object: a file "ZELT_YYYYMMDDhhmmss.nnn" in it, numbered from 1 to 999. A filemark is the end of an
//   object. Object 1 is the volume header; writing it creates a new version, named by the local time. Objects
//   2, 5, 8, ... are area headers. A header is read with one call. Data moves in blocks of 65,536 bytes.
//   A foreign file in a version's directory hides the objects listed after it, until the library is loaded
//   again.
//
// Position
//   The position is an object number (0 is the beginning of the medium) and a block number in that object.
//   Each function says where it leaves the position, also when it fails.
//
// Threads
//   One host thread at a time uses a handle. Several handles may be open, but only one upload and one download
//   run per machine: a second one is refused with ZDV_DEVICE_ERROR. One handle of a process at a time lists the
//   server: it does so when it is made ready, and for ZDV_SP_RET, ZDV_SP_BOM and ZDV_SP_EORM.
//   Call nothing from a DllMain or from a destructor of a DLL's static object: a transfer's thread can neither
//   start nor end there, so the call would wait for ever. Only ZDV_Close at the end of the process returns: the
//   transfer's thread has been killed then, and the object on the server is cut off.
//   A thread that impersonates another account must not begin an object: the pipe would be that account's, and
//   the transfer, which runs as the process, may then not open it for a download (error 5).
//
// What is kept
//   One thread handle for each transfer and one connection for each "Make Unit Ready" but the last stay until
//   the process ends.
//
// Errors
//   A function that answers ZDV_DEVICE_ERROR leaves the reason as the last error: ZDV_P_SPECIFIC_ERROR_CODE is a
//   Windows error number or a libcurl result code (0: no failure), and ZDV_GI_SPECIFIC_ERROR_MSG the text. Each
//   function lists its reasons. Any function can also answer ZDV_DEVICE_ERROR (ZDV_Open: ZDV_OPEN_FAILED) because
//   memory is short: the number is then 8, or is not set while a transfer runs. If libcurl itself is short of memory,
//   the transfer fails with libcurl's code.
//   An upload goes on after the call that gave it its data, so its failure is seen later. These calls end it:
//     - a filemark, an erase, ZDV_Close, "Make Unit Ready"
//     - ZDV_Position, but not with ZDV_SP_GOTO or ZDV_SP_SKIP
//     - a read or a skip, if there is a further object to read, or a filemark to report
//   After each of them but ZDV_Close the last error says whether the upload has failed, whatever the status is. A
//   read that ends a failed upload answers ZDV_DEVICE_ERROR, unless a write has done so already or it reports a
//   filemark.
//   A failed download looks like a filemark: ask for the last error after ZDV_FILEMARK_REACHED.
//   Ask at once: the next read, write, skip or further filemark clears the last error. Making ready and the other
//   ways of positioning do not. While a transfer runs the answer is 0 and an empty text, with two exceptions:
//     - after a skip that has ended a failed upload and has then read on
//     - after a read or write whose buffer is no memory of the process; the transfer goes on without that data
//   Three failures leave the last error as it was, so that it gives no reason:
//     - ZDV_Position before the device was made ready
//     - "Make Unit Ready" or ZDV_Position when libcurl refuses the URL of the server and the root
//     - "Make Unit Ready" that cannot set the connection up while a transfer runs
//   After a failed upload the versions and objects cannot be listed until the device is made ready again.
//   After any failed write position the tape before you write again (ZDV_SP_BOM for a new version, ZDV_SP_EORM to
//   append): the object number is kept, and a write in the middle of a version overwrites.
//   The administrator lists the keys of servers in section "Server Keys" of the settings file zlt.ini beside the host's
//   program: "nas = SHA256:..." for SSH, "nas:990 = sha256//...=" for TLS. A server that shows another key is refused
//   with libcurl's code 60, one without TLS with 64 (35 at port 990), and the text names the key. A list that cannot be
//   understood makes "Make Unit Ready" fail with 1610. The list is read then, and again when a transfer goes to another
//   server than the last one. Without the section no server is verified.
//   Every function that takes a handle but ZDV_Close answers a null handle with ZDV_INVALID_HANDLE; any other
//   value must come from ZDV_Open.
//
// Example: writes a block as a new version, and reads it back.
//
//     ZDV_STATUS WriteAndReadBack(const wchar_t* sServer, const wchar_t* sPort, const wchar_t* sRoot,
//                                 const wchar_t* sUser, const wchar_t* sPassword, const void* pBlock,
//                                 void* pRead, wchar_t* sError, uint32_t uiErrorSize)
//     {
//         ZDV_HANDLE Handle = 0;
//         uint32_t uiError = 0;
//         ZDV_STATUS uiRc = ZDV_Open(&Handle);
//         if (uiRc != ZDV_SUCCESS)
//             return uiRc;
//         ZDV_SetDeviceOptionsW(Handle, ZDV_FTP_SERVERNAME, sServer);
//         ZDV_SetDeviceOptionsW(Handle, ZDV_FTP_PORT, sPort);
//         ZDV_SetDeviceOptionsW(Handle, ZDV_FTP_ROOT, sRoot);
//         ZDV_SetDeviceOptionsW(Handle, ZDV_FTP_USERNAME, sUser);
//         ZDV_SetDeviceOptionsW(Handle, ZDV_FTP_PASSWORD, sPassword);
//         uiRc = ZDV_Utility(Handle, ZDV_U_MAKE_UNIT_READY);
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_MediaAccess(Handle, ZDV_MA_E, 0); // the next write begins a new version
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_WriteData(Handle, ZDV_BLOCK_SIZE, pBlock);
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_MediaAccess(Handle, ZDV_MA_WFM, 1); // waits for the upload, but does not say if it failed
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_GetProperty(Handle, ZDV_P_SPECIFIC_ERROR_CODE, &uiError);
//         if (uiRc == ZDV_SUCCESS && uiError != 0)
//             uiRc = ZDV_DEVICE_ERROR;
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_Position(Handle, ZDV_SP_BOM, 0);
//         if (uiRc == ZDV_SUCCESS)
//             uiRc = ZDV_ReadData(Handle, ZDV_BLOCK_SIZE, pRead);
//         ZDV_GetInfoW(Handle, ZDV_GI_SPECIFIC_ERROR_MSG, sError, uiErrorSize);
//         ZDV_Close(Handle);
//         return uiRc;
//     }
#pragma once

#ifdef __cplusplus
#include <cstdint>
#else
#include <stddef.h>
#include <stdint.h>
#endif

typedef uint64_t ZDV_HANDLE;
typedef uint32_t ZDV_STATUS;

#define ZDV_BLOCK_SIZE UINT32_C(65536) // bytes

// ------------------------------------------------------------------------------------------- statuses

#define ZDV_SUCCESS UINT32_C(0x00000000)
#define ZDV_INVALID_HANDLE UINT32_C(0x40000000)         // null handle
#define ZDV_FUNCTION_NOT_SUPPORTED UINT32_C(0x40000002) // unknown or unsupported category
#define ZDV_NO_STRING_EXISTS UINT32_C(0x40000004)       // no option string at this index
#define ZDV_INTERNAL_ERROR UINT32_C(0x40000008)         // object count inconsistent on a write
#define ZDV_DEVICE_ERROR UINT32_C(0x40000011)           // see "Errors" above
#define ZDV_OPEN_FAILED UINT32_C(0x40000402)            // the device could not be created
#define ZDV_WRITE_PROTECTED UINT32_C(0x40000405)        // writing is not allowed here
#define ZDV_BLANK_CHECK UINT32_C(0x40000408)            // a read found no recorded data
#define ZDV_FILEMARK_REACHED UINT32_C(0x40000410)       // the end of the current object
#define ZDV_END_OF_MEDIA UINT32_C(0x40000412)           // a read beyond the last object
#define ZDV_INVALID_DATE UINT32_C(0x40001013)           // only ever traced, never returned

// ------------------------------------------------------------------------------------------- categories

// ZDV_GetModuleProperty[W]
#define ZDV_GMP_DESC UINT32_C(0)            // "FTP Virtual device for Windows"
#define ZDV_GMP_VER UINT32_C(1)             // "V " and the version, e.g. "V 7.1.2"
#define ZDV_GMP_CLASS UINT32_C(2)           // "FTP Support Module"
#define ZDV_GMP_DATE UINT32_C(3)            // build date, e.g. "Jul 30 2025"
#define ZDV_GMP_CHANGER_SUPPORT UINT32_C(4) // "0"
#define ZDV_GMP_SM_CLASS UINT32_C(7)        // "10"
#define ZDV_GMP_IS_ZDV_REMOTE UINT32_C(8)   // "0"
#define ZDV_GMP_WCHAR UINT32_C(9)           // "1"; asked of the narrow function only

// ZDV_Utility
#define ZDV_U_MAKE_UNIT_READY UINT32_C(0)
#define ZDV_U_CHECK_DEVICE_STATUS UINT32_C(1)

// ZDV_GetInfo[W]
#define ZDV_GI_E UINT32_C(0)                  // empty text
#define ZDV_GI_DD UINT32_C(1)                 // device description
#define ZDV_GI_DC UINT32_C(3)                 // device class
#define ZDV_GI_SPECIFIC_ERROR_MSG UINT32_C(6) // "ERROR: " and the last error's text

// ZDV_SetInfo[W]; 0 to 3 are accepted and ignored
#define ZDV_BACKUP_VERSION UINT32_C(257) // "dd/mm/yyyy hh:mm:ss": the backup to read
#define ZDV_CAPACITY UINT32_C(258)       // a decimal number, only traced
#define ZDV_OCCUPANCY UINT32_C(259)      // a decimal number, only traced

// ZDV_GetDeviceOptions[W] (2 to 6) and ZDV_SetDeviceOptions[W] (2 to 5 are ignored, 24 to 28 are stored)
#define ZDV_INTERFACES INT32_C(2)        // the server's address, without brackets
#define ZDV_INTERFACE_OPTIONS INT32_C(3) // no string
#define ZDV_ADAPTERS INT32_C(4)          // this computer's name
#define ZDV_ADAPTER_OPTIONS INT32_C(5)   // no string
#define ZDV_UNITS INT32_C(6)             // "Default"
#define ZDV_FTP_SERVERNAME INT32_C(24)   // name, IPv4 or IPv6 address
#define ZDV_FTP_PORT INT32_C(25)         // decimal; 22 means SFTP, 990 FTPS, others FTP
// The directory under which the versions lie: relative to the login directory over FTP and FTPS; from the
// server's top directory over SFTP, unless it begins with "~/". With an empty root versions can only be read.
#define ZDV_FTP_ROOT INT32_C(26)
#define ZDV_FTP_USERNAME INT32_C(27)
#define ZDV_FTP_PASSWORD INT32_C(28) // never traced

// ZDV_GetProperty and ZDV_SetProperty
#define ZDV_P_BLOCKSIZE UINT32_C(0)                 // get 65,536; a set is ignored
#define ZDV_P_COMP UINT32_C(1)                      // 0: no compression
#define ZDV_P_PART UINT32_C(2)                      // 1 partition; a set is refused
#define ZDV_P_URUN UINT32_C(3)                      // 0
#define ZDV_P_WRPR UINT32_C(4)                      // 0: no write protection tab
#define ZDV_P_GOTO UINT32_C(5)                      // 0: cannot seek to a block address
#define ZDV_P_ECC_FRAME UINT32_C(6)                 // 65,536
#define ZDV_P_CHANGER_INFO UINT32_C(7)              // 0
#define ZDV_P_SUPPORTS_INITIALISE UINT32_C(8)       // 0
#define ZDV_P_REMOVABLE UINT32_C(9)                 // 0
#define ZDV_P_VT_ALLOW_CREATION UINT32_C(13)        // known to a set only, and refused
#define ZDV_P_GET_CUR_BLK_ADDR UINT32_C(14)         // blocks passed in the current object
#define ZDV_P_INITIAL_BLOCKSIZE UINT32_C(18)        // 65,536
#define ZDV_P_SPECIFIC_ERROR_CODE UINT32_C(32)      // the last error's number, 0 for none
#define ZDV_P_SUPPORTS_VERSIONING UINT32_C(34)      // 1
#define ZDV_P_UNSUPPORTED_SETTING_100 UINT32_C(100) // a set is refused
#define ZDV_P_UNSUPPORTED_SETTING_101 UINT32_C(101) // a set is refused
#define ZDV_P_RESERVE_BLOCKS UINT32_C(104)          // get and set; 0 after a media reset or an erase
#define ZDV_P_BACKUP_TIME UINT32_C(105)             // a set is ignored

// ZDV_MediaAccess
#define ZDV_MA_WFM UINT32_C(0) // write filemarks
#define ZDV_MA_I UINT32_C(1)   // initialise: not supported
#define ZDV_MA_E UINT32_C(2)   // erase: the next write starts a new version

// ZDV_Position
#define ZDV_SP_RET UINT32_C(0)  // media reset: the tape is loaded again, the object number is kept
#define ZDV_SP_BOM UINT32_C(1)  // media reset, then beginning of media
#define ZDV_SP_EORM UINT32_C(2) // media reset, then end of recorded media
#define ZDV_SP_SKIP UINT32_C(3) // space forward over blocks by reading them
#define ZDV_SP_GOTO UINT32_C(4) // not supported
#define ZDV_SP_FFM UINT32_C(5)  // space over filemarks, either way

// ZDV_GetList
#define ZDV_GL_VERSION_DATE UINT32_C(0)

// ------------------------------------------------------------------------------------------- host list

// One version's date in a host list: broken-down local time, as in struct tm.
typedef struct ZDV_VERSION_DATE
{
    int32_t iSec;   // 0 to 60
    int32_t iMin;   // 0 to 59
    int32_t iHour;  // 0 to 23
    int32_t iMday;  // 1 to 31
    int32_t iMon;   // 0 to 11
    int32_t iYear;  // years since 1900
    int32_t iWday;  // 0 (Sunday) to 6
    int32_t iYday;  // 0 to 365
    int32_t iIsdst; // daylight-saving flag
} ZDV_VERSION_DATE; // 36 bytes

// Allocated by the module with calloc of msvcrt.dll, ZDV_LIST_NODE_SIZE bytes each; the host releases it with
// free of that library.
typedef struct ZDV_LIST_NODE
{
    struct ZDV_LIST_NODE* pNext;
    struct ZDV_LIST_NODE* pPrevious;
    uint32_t uiSize; // bytes of payload: 36
    ZDV_VERSION_DATE Date;
} ZDV_LIST_NODE;
#define ZDV_LIST_NODE_SIZE UINT32_C(59) // bytes

// Owned by the host, empty or with nodes of its own in it.
typedef struct ZDV_LIST
{
    uint16_t uiSignature; // ZDV_LIST_SIGNATURE
    uint16_t uiFlags;     // ZDV_LIST_NO_ADDITIONS; the other bits are the host's
    uint32_t uiReserved;  // the host's
    ZDV_LIST_NODE* pLast;
    ZDV_LIST_NODE* pFirst;
    ZDV_LIST_NODE* pCurrent; // may be null
    uint32_t uiCount;        // nodes
} ZDV_LIST;
#define ZDV_LIST_SIGNATURE UINT16_C(0x4C4C) // "LL"
#define ZDV_LIST_NO_ADDITIONS UINT16_C(0x0001)

#ifdef __cplusplus
extern "C" {
#endif

// ------------------------------------------------------------------------------------------- module

// Exported as "ZDV_GMP" and "ZDV_GetModulePropertyW". Copies a fact about the module into pBuffer, cut to
// uiSize characters with the terminating zero (bytes for the narrow function, UTF-16 units for the wide
// one). Statuses: ZDV_SUCCESS, also for a text that was cut; ZDV_FUNCTION_NOT_SUPPORTED for an unknown
// category (for the wide function that includes ZDV_GMP_WCHAR), the buffer is then untouched.
ZDV_STATUS ZDV_GetModuleProperty(uint32_t uiCategory, char* pBuffer, uint32_t uiSize);
ZDV_STATUS ZDV_GetModulePropertyW(uint32_t uiCategory, wchar_t* pBuffer, uint32_t uiSize);

// ------------------------------------------------------------------------------------------- session

// Exported as "ZDV_O". Creates a device and stores its handle in *pHandle (not null). The server is not
// contacted. Statuses: ZDV_SUCCESS; ZDV_FUNCTION_NOT_SUPPORTED when *pHandle is 0x8000000000000000 on
// entry; ZDV_OPEN_FAILED. On failure *pHandle is untouched. Position: object 0, writing not allowed.
ZDV_STATUS ZDV_Open(ZDV_HANDLE* pHandle);

// Exported as "ZDV_C". Ends the current object (an upload is completed, however long that takes) and
// destroys the device. Status: ZDV_SUCCESS, also for a null handle. To learn whether an upload has failed, write a
// filemark and ask for the last error before closing.
ZDV_STATUS ZDV_Close(ZDV_HANDLE handle);

// Exported as "ZDV_U". ZDV_U_CHECK_DEVICE_STATUS does nothing. ZDV_U_MAKE_UNIT_READY sets the connection up from the
// device options and loads the newest version, or the newest one not later than ZDV_BACKUP_VERSION, as the tape.
// Before the tape is loaded, a transfer that runs is ended, and a root that does not exist is created.
// Over SFTP a password that is set is the only way in. Without one libcurl tries a key file without a passphrase
// (id_rsa or id_dsa, in the folder .ssh of %HOME% or in the current folder) and an agent of the account (Pageant, or
// else that of OpenSSH), which it waits for without a limit.
//   ZDV_SUCCESS        The tape is loaded. A root without versions is a blank tape.
//   ZDV_DEVICE_ERROR   - The connection could not be set up: an option is of no use, such as a port of 70000, or
//                        libcurl has no memory. The tape is as it was. A running transfer goes on, and the last error
//                        is not set while it does. Only a download ends if libcurl has no memory.
//                      - The tape could not be loaded: see ZDV_SP_RET. No object is known.
//                      - The list of keys in zlt.ini cannot be understood (1610), or refuses the server (60, 64, 35).
//   ZDV_FUNCTION_NOT_SUPPORTED   The category is another one.
// Position, also when the tape could not be loaded: the object number is kept (0 after ZDV_Open), writing is allowed.
ZDV_STATUS ZDV_Utility(ZDV_HANDLE handle, uint32_t uiCategory);

// ------------------------------------------------------------------------------------------- options

// Exported as "ZDV_GDO" and "ZDV_GetDeviceOptionsW". Copies option string uiIndex of a category into
// pOptions (not null), cut to uiSize: characters for the narrow function, bytes for the wide one, except
// that the wide computer name (ZDV_ADAPTERS) takes uiSize as characters. Ask index 0, 1, ... until
// ZDV_NO_STRING_EXISTS; no category has more than one string. Statuses: ZDV_SUCCESS, also for a text that
// was cut (a size of 0 leaves the buffer untouched); ZDV_NO_STRING_EXISTS, the buffer is untouched;
// ZDV_FUNCTION_NOT_SUPPORTED for an unknown category, and for a computer name that does not fit or cannot be read.
ZDV_STATUS ZDV_GetDeviceOptions(ZDV_HANDLE handle, int32_t uiCategory, uint32_t uiIndex, char* pOptions,
                                uint32_t uiSize);
ZDV_STATUS ZDV_GetDeviceOptionsW(ZDV_HANDLE handle, int32_t uiCategory, uint32_t uiIndex, wchar_t* pOptions,
                                 uint32_t uiSize);

// Exported as "ZDV_SDO" and "ZDV_SetDeviceOptionsW". Stores an option; pOptions is zero-terminated and not
// null. Values are not checked here; a port is read as atoi does, and a server with a ":" is taken for an
// IPv6 address. Statuses: ZDV_SUCCESS; ZDV_FUNCTION_NOT_SUPPORTED for a category that is no option.
ZDV_STATUS ZDV_SetDeviceOptions(ZDV_HANDLE handle, int32_t uiCategory, const char* pOptions);
ZDV_STATUS ZDV_SetDeviceOptionsW(ZDV_HANDLE handle, int32_t uiCategory, const wchar_t* pOptions);

// ------------------------------------------------------------------------------------------- queries

// Exported as "ZDV_GI" and "ZDV_GetInfoW". Copies a text about the device into pBuffer, cut to uiSize
// characters with the terminating zero (bytes or UTF-16 units, as above). ZDV_GI_DC is "FTP Virtual device for Windows"
// from the narrow function and "FTP Virtual Tape" from the wide one. Statuses: ZDV_SUCCESS, also for a text that was
// cut; ZDV_FUNCTION_NOT_SUPPORTED for an unknown category.
ZDV_STATUS ZDV_GetInfo(ZDV_HANDLE handle, uint32_t uiCategory, char* pBuffer, uint32_t uiSize);
ZDV_STATUS ZDV_GetInfoW(ZDV_HANDLE handle, uint32_t uiCategory, wchar_t* pBuffer, uint32_t uiSize);

// Exported under their own names. Tells the device a fact, given as a text of at most uiSize characters.
// ZDV_BACKUP_VERSION takes local standard time (a time in daylight-saving time is given one hour earlier)
// and takes effect at the next media reset; an empty text asks for the newest version, and any other text
// asks for a version that cannot exist. Statuses: ZDV_SUCCESS, also when pBuffer is null or uiSize 0 and so nothing is
// done; ZDV_FUNCTION_NOT_SUPPORTED for an unknown category.
ZDV_STATUS ZDV_SetInfo(ZDV_HANDLE handle, uint32_t uiCategory, const char* pBuffer, uint32_t uiSize);
ZDV_STATUS ZDV_SetInfoW(ZDV_HANDLE handle, uint32_t uiCategory, const wchar_t* pBuffer, uint32_t uiSize);

// Exported as "ZDV_GP" and "ZDV_SP". Reads a property into *puiParam (not null), or sets one. Statuses:
// ZDV_SUCCESS, also for a setting that is ignored; ZDV_FUNCTION_NOT_SUPPORTED for a setting that is refused and
// for an unknown property (*puiParam is then untouched).
ZDV_STATUS ZDV_GetProperty(ZDV_HANDLE handle, uint32_t uiCategory, uint32_t* puiParam);
ZDV_STATUS ZDV_SetProperty(ZDV_HANDLE handle, uint32_t uiCategory, uint32_t uiParam);

// Exported as "ZDV_GetList". Adds the date of each version that the last media reset found, or that was
// written through this handle since, to the list, oldest first, after its current node (after its last node
// when there is none); the last one added becomes the current node. A version whose date has no local time, or for
// which there is no memory, is left out. A null list, one without its signature and one that forbids additions are
// left alone. Statuses: ZDV_SUCCESS; ZDV_FUNCTION_NOT_SUPPORTED for a category other than ZDV_GL_VERSION_DATE.
ZDV_STATUS ZDV_GetList(ZDV_HANDLE handle, uint32_t uiCategory, ZDV_LIST* pList);

// ------------------------------------------------------------------------------------------- data

// Exported as "ZDV_WD". Writes uiBytes / 65,536 blocks (rounded down, at least one) from buffer. The first
// write after a filemark or a positioning opens the next object: it raises the object number by one, also when it
// fails. Object 1 creates a new version first. In the middle of a version this overwrites the object of that number.
//   ZDV_SUCCESS           The blocks are on their way; "Errors" tells how to see that they have arrived, and only
//                         reading back proves it. The block number is raised by the blocks asked for.
//   ZDV_WRITE_PROTECTED   The medium was not reset or erased yet, or a read has succeeded since then. The position is
//                         kept.
//   ZDV_INTERNAL_ERROR    The object number is not the next one of the version, or an earlier write could not create
//                         the version. Nothing is sent, and the block number is kept.
//   ZDV_DEVICE_ERROR      - The version could not be created, an object 1000 or above was to be written, or the
//                         transfer could not be started (another one runs, there is no memory, libcurl refuses
//                         the URL). The block number is kept.
//                         - The upload has failed, in this call or since an earlier one, and is not ended yet. The
//                         block number is raised by the blocks asked for all the same.
//                         - The data could not be passed on, for example from a buffer that is no memory. The error is
//                         the system's, and the block number is raised all the same. The upload goes on.
ZDV_STATUS ZDV_WriteData(ZDV_HANDLE handle, uint32_t uiBytes, const void* buffer);

// Exported as "ZDV_RD". Reads uiBytes / 65,536 blocks (rounded down, at least one) into buffer. The first
// read after a filemark or a positioning starts the next object: it raises the object number by one, also when it
// fails. A read after a write ends the upload, if there is a further object, or a filemark to report.
//   ZDV_SUCCESS            The whole request is filled. The block number is raised by the blocks asked for. Writing
//                          is not allowed until the medium is reset or erased.
//   ZDV_FILEMARK_REACHED   - The object ended inside the request or just before it: the buffer is filled in part or
//                          not at all, and the module does not say how much. The block number is that of the
//                          blocks asked for, and the next read reports the filemark again.
//                          - The filemark of a header was next, one after spacing back, or one that is reported
//                          again: the buffer is untouched. The block number is 0, and the next read starts the next
//                          object.
//                          - The download failed: the last error is set, all else is as in the first case.
//   ZDV_END_OF_MEDIA       The version has no further object. The position is kept.
//   ZDV_BLANK_CHECK        The position is the beginning of a tape without objects: a blank one, an empty version, or
//                          that of a device that was not made ready. It is kept.
//   ZDV_DEVICE_ERROR       - The upload that this read has ended had failed, and no write has said so. The object
//                          number is kept, the block number is 0. The next read starts the next object.
//                          - The transfer could not be started (another one runs, there is no memory, the object's
//                          number is above 999, libcurl refuses the URL). The block number is kept, or 0 if this
//                          read has ended an upload.
//                          - The data could not be passed on, for example into a buffer that is no memory. The error
//                          is the system's, and the block number is kept. After a header its filemark is next.
ZDV_STATUS ZDV_ReadData(ZDV_HANDLE handle, uint32_t uiBytes, void* buffer);

// Exported as "ZDV_MA". ZDV_MA_WFM writes uiParam filemarks: the first ends the current object and waits for
// its upload. ZDV_MA_E ends it, too, and forgets the loaded version; nothing is deleted on the server.
//   ZDV_SUCCESS                  Also when the upload that was ended had failed: ask for the last error.
//   ZDV_FUNCTION_NOT_SUPPORTED   ZDV_MA_I, and unknown categories. Nothing has changed.
// Position: after a filemark, past the object, so that the next read or write starts the next one; after an erase,
// object 0, writing allowed. Write one filemark at a time. Each further one leaves out an object number and clears the
// last error. In the middle of a version it also empties the object after that number; at the end it makes none.
// 0 means 4,294,967,295 further ones.
ZDV_STATUS ZDV_MediaAccess(ZDV_HANDLE handle, uint32_t uiCategory, uint32_t uiParam);

// Exported as "ZDV_P". iBlocks counts blocks for ZDV_SP_SKIP and filemarks for ZDV_SP_FFM (negative: backwards).
//
// ZDV_SP_RET, ZDV_SP_BOM and ZDV_SP_EORM end the current object, list the versions and load one as the tape again.
// Position, also on failure: ZDV_SP_RET keeps the object number, ZDV_SP_BOM sets it to 0, ZDV_SP_EORM to the number
// of objects (0 on failure). The next read starts the object after that. Writing is allowed.
//   ZDV_SUCCESS        A root without versions is a blank tape.
//   ZDV_DEVICE_ERROR   - The server cannot be reached, or refuses the login, or to list the versions or the objects.
//                      - No version is old enough for ZDV_BACKUP_VERSION.
//                      - The version's or the requested date cannot be shown (87).
//                      - The call ended an upload that had failed: the reason is then the upload's.
//
// ZDV_SP_SKIP reads blocks and throws them away. Its status is that of its last read, and only a filemark ends it
// early. Position: as after these reads, but each block raises the block number by one more. 0 blocks read nothing, and
// the position then counts as in the data of the object. A negative number is answered with
// ZDV_FUNCTION_NOT_SUPPORTED and changes nothing.
//
// ZDV_SP_FFM ends the current object and changes the object number. It neither asks the server nor looks which objects
// are recorded, and always answers ZDV_SUCCESS. Forward leaves the position just past a filemark, backward just before
// one; 0 leaves it past the current object. From the data of an object +1 passes the object's own filemark, and -1 that
// of the object before it. From just past a filemark -1 passes only that filemark, and no object.
// The position is just past a filemark after a media reset, after a read that reported one and after spacing forward.
// It is in the data after reading or skipping blocks and after spacing back. A write, a filemark and an erase leave
// this as it was: after a media reset and the write of an object the tape still counts as just past a filemark.
// Spacing does not stop at either end. Before the first object the number goes on at 4,294,967,295, and the next read
// still reports a filemark. After the last one the next read answers ZDV_END_OF_MEDIA.
//
//   from                          iBlocks   to                     the next read
//   in the data of object 3            +1   past object 3          starts object 4
//   just past object 3                 +2   past object 5          starts object 6
//   in the data of object 3            -1   the end of object 2    reports its filemark, the one after starts 3
//   just past object 3                 -1   the end of object 3    reports its filemark, the one after starts 4
//   just past object 3                 -2   the end of object 2    reports its filemark, the one after starts 3
//
// ZDV_SP_GOTO and unknown modes are answered with ZDV_FUNCTION_NOT_SUPPORTED and change nothing.
ZDV_STATUS ZDV_Position(ZDV_HANDLE handle, uint32_t uiCategory, int32_t iBlocks);

#ifdef __cplusplus
} // extern "C"
#endif
