// Types and constants of the system below the Windows API: text pointers, languages, access rights
// and security identifiers.
#pragma once

#include <cstdint>

using CHAR = char;
using WCHAR = wchar_t;
using PWCHAR = WCHAR*;
using PWSTR = WCHAR*;
using LPWSTR = WCHAR*;
using PCWSTR = const WCHAR*;
using LPCWSTR = const WCHAR*;
using LPSTR = CHAR*;
using LPCSTR = const CHAR*;
using LPCCH = const CHAR*;
using LPCWCH = const WCHAR*;
using PCZZWSTR = const WCHAR*;
using PVOID = void*;
using HANDLE = void*;
using PHANDLE = HANDLE*;
using LONG = std::int32_t;
using LONGLONG = std::int64_t;
using HRESULT = std::int32_t;
using BOOLEAN = std::uint8_t;
using LANGID = std::uint16_t;

#define MAKELANGID(primary, sub) (static_cast<LANGID>(((sub) << 10) | (primary)))
#define PRIMARYLANGID(language) (static_cast<LANGID>((language)&0x3FF))

#define DELETE 0x00010000u
#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_LIST_DIRECTORY 0x0001u
#define FILE_DELETE_CHILD 0x0040u
#define FILE_GENERIC_READ 0x00120089u
#define FILE_GENERIC_WRITE 0x00120116u
#define FILE_GENERIC_EXECUTE 0x001200A0u
#define FILE_ALL_ACCESS 0x001F01FFu
#define READ_CONTROL 0x00020000u
#define WRITE_DAC 0x00040000u
#define WRITE_OWNER 0x00080000u
#define MAXIMUM_ALLOWED 0x02000000u

#define FILE_SHARE_READ 0x00000001u
#define FILE_SHARE_WRITE 0x00000002u
#define FILE_SHARE_DELETE 0x00000004u

#define FILE_NOTIFY_CHANGE_FILE_NAME 0x00000001u
#define FILE_NOTIFY_CHANGE_LAST_WRITE 0x00000010u

#define FILE_ACTION_ADDED 0x00000001u
#define FILE_ACTION_REMOVED 0x00000002u
#define FILE_ACTION_MODIFIED 0x00000003u
#define FILE_ACTION_RENAMED_OLD_NAME 0x00000004u
#define FILE_ACTION_RENAMED_NEW_NAME 0x00000005u

/// A change of an entry of a watched folder. The name goes on behind the end of the structure and
/// has no terminator; its length is in bytes.
struct FILE_NOTIFY_INFORMATION {
  std::uint32_t NextEntryOffset;
  std::uint32_t Action;
  std::uint32_t FileNameLength;
  WCHAR FileName[1];
};

#define TOKEN_QUERY 0x0008u
#define TOKEN_ADJUST_PRIVILEGES 0x0020u

#define SE_PRIVILEGE_ENABLED 0x00000002u
#define SE_SHUTDOWN_NAME L"SeShutdownPrivilege"

struct LUID {
  std::uint32_t LowPart;
  LONG HighPart;
};
using PLUID = LUID*;

struct LUID_AND_ATTRIBUTES {
  LUID Luid;
  std::uint32_t Attributes;
};

struct TOKEN_PRIVILEGES {
  std::uint32_t PrivilegeCount;
  LUID_AND_ATTRIBUTES Privileges[1];
};
using PTOKEN_PRIVILEGES = TOKEN_PRIVILEGES*;

enum SECURITY_IMPERSONATION_LEVEL {
  SecurityAnonymous,
  SecurityIdentification,
  SecurityImpersonation
};
enum TOKEN_TYPE { TokenPrimary = 1, TokenImpersonation };
enum SID_NAME_USE {
  SidTypeUser = 1,
  SidTypeGroup,
  SidTypeDomain,
  SidTypeAlias,
  SidTypeWellKnownGroup,
  SidTypeDeletedAccount,
  SidTypeInvalid,
  SidTypeUnknown
};
using PSID_NAME_USE = SID_NAME_USE*;

#define SYNCHRONIZE 0x00100000u

#define FILE_ATTRIBUTE_READONLY 0x00000001u
#define FILE_ATTRIBUTE_HIDDEN 0x00000002u
#define FILE_ATTRIBUTE_SYSTEM 0x00000004u
#define FILE_ATTRIBUTE_DIRECTORY 0x00000010u
#define FILE_ATTRIBUTE_ARCHIVE 0x00000020u
#define FILE_ATTRIBUTE_NORMAL 0x00000080u
#define FILE_ATTRIBUTE_REPARSE_POINT 0x00000400u
#define FILE_ATTRIBUTE_COMPRESSED 0x00000800u
#define FILE_ATTRIBUTE_ENCRYPTED 0x00004000u

#define IO_REPARSE_TAG_SYMLINK 0xA000000Cu

#define PAGE_READONLY 0x02u
#define SECTION_MAP_READ 0x0004u

#define MAXIMUM_WAIT_OBJECTS 64

union LARGE_INTEGER {
  struct {
    std::uint32_t LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;
union ULARGE_INTEGER {
  struct {
    std::uint32_t LowPart;
    std::uint32_t HighPart;
  } u;
  std::uint64_t QuadPart;
};
using PULARGE_INTEGER = ULARGE_INTEGER*;

#define KEY_SET_VALUE 0x0002u

#define REG_NONE 0u
#define REG_SZ 1u
#define REG_EXPAND_SZ 2u
#define REG_DWORD 4u
#define REG_MULTI_SZ 7u

/// A security identifier in its binary form. \c SubAuthority goes on behind the end of the
/// structure: SubAuthorityCount tells how many there are.
struct SID_IDENTIFIER_AUTHORITY {
  std::uint8_t Value[6];
};
using PSID_IDENTIFIER_AUTHORITY = SID_IDENTIFIER_AUTHORITY*;
struct SID {
  std::uint8_t Revision;
  std::uint8_t SubAuthorityCount;
  SID_IDENTIFIER_AUTHORITY IdentifierAuthority;
  std::uint32_t SubAuthority[1];
};
using PSID = PVOID;

using ACCESS_MASK = std::uint32_t;
struct GENERIC_MAPPING {
  ACCESS_MASK GenericRead;
  ACCESS_MASK GenericWrite;
  ACCESS_MASK GenericExecute;
  ACCESS_MASK GenericAll;
};
using PGENERIC_MAPPING = GENERIC_MAPPING*;

using SECURITY_INFORMATION = std::uint32_t;
#define OWNER_SECURITY_INFORMATION 0x1u
#define GROUP_SECURITY_INFORMATION 0x2u
#define DACL_SECURITY_INFORMATION 0x4u

enum WELL_KNOWN_SID_TYPE { WinBuiltinAdministratorsSid = 26 };

#define SID_REVISION 1
#define SID_MAX_SUB_AUTHORITIES 15
#define SECURITY_NT_AUTHORITY \
  { 0, 0, 0, 0, 0, 5 }
#define SECURITY_BUILTIN_DOMAIN_RID 0x20u
#define DOMAIN_ALIAS_RID_ADMINS 0x220u
