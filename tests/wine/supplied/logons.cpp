// Takes the place of the import of LogonUserW in a program that is tested under Wine, where every
// logon succeeds with a handle that names nothing.
//
// The passwords of the accounts stand in the registry of the machine: values of the key below, by
// the names of the accounts. The token of a logon is one of this process.
#include <windows.h>

#include <cwchar>

namespace {

constexpr wchar_t kAccounts[] = L"SOFTWARE\\Accounts of the tests";

BOOL WINAPI LogOn(LPCWSTR user, LPCWSTR /*domain*/, LPCWSTR password, DWORD, DWORD, PHANDLE token) {
  wchar_t expected[256] = {};
  DWORD size = sizeof expected;
  if (RegGetValueW(HKEY_LOCAL_MACHINE, kAccounts, user, RRF_RT_REG_SZ, nullptr, expected, &size) !=
          ERROR_SUCCESS ||
      std::wcscmp(expected, password) != 0) {
    SetLastError(ERROR_LOGON_FAILURE);
    return FALSE;
  }
  return OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY | TOKEN_DUPLICATE, token);
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&LogonUserW) __imp_LogonUserW = LogOn;
}
