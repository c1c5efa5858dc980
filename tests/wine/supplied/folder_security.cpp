// Takes the place of the import of GetFileSecurityW in a program that is tested under Wine.
//
// Wine keeps no access lists: it makes one of the host's mode, with entries for the system, the
// user and everybody. What an administrator makes on Windows has one for the administrators too,
// and the agent asks what they may do.
#include <windows.h>

#include <sddl.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "wines_own.h"

namespace {

constexpr wchar_t kAllForAdministrators[] = L"(A;OICI;FA;;;BA)";

struct FreeLocal {
  void operator()(void* memory) const { LocalFree(memory); }
};
template <typename T>
using LocalMemory = std::unique_ptr<T, FreeLocal>;

/// \return The size of the descriptor; null without one.
LocalMemory<void> WithAdministrators(PSECURITY_DESCRIPTOR descriptor, SECURITY_INFORMATION wanted,
                                     ULONG& size) {
  LPWSTR text = nullptr;
  if (!ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1, wanted,
                                                            &text, nullptr)) {
    return nullptr;
  }
  const LocalMemory<wchar_t> owner(text);
  const std::wstring more = std::wstring(text) + kAllForAdministrators;
  PSECURITY_DESCRIPTOR made = nullptr;
  (void)ConvertStringSecurityDescriptorToSecurityDescriptorW(more.c_str(), SDDL_REVISION_1, &made,
                                                             &size);
  return LocalMemory<void>(made);
}

BOOL WINAPI ReadFileSecurity(LPCWSTR path, SECURITY_INFORMATION wanted,
                             PSECURITY_DESCRIPTOR descriptor, DWORD room, LPDWORD needed) {
  static const auto read =
      Supplied::WinesOwn<decltype(&GetFileSecurityW)>(L"advapi32.dll", "GetFileSecurityW");
  constexpr DWORD kRoomForAny = 4096;
  std::vector<std::byte> own(kRoomForAny);
  if (!read(path, wanted, own.data(), kRoomForAny, needed)) return FALSE;
  ULONG size = 0;
  const LocalMemory<void> made = WithAdministrators(own.data(), wanted, size);
  if (made == nullptr) return FALSE;
  *needed = size;
  if (room < size) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return FALSE;
  }
  std::memcpy(descriptor, made.get(), size);
  return TRUE;
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&GetFileSecurityW) __imp_GetFileSecurityW = ReadFileSecurity;
}
