// Takes the place of the import of CreateSymbolicLinkW in a program that is tested under Wine.
//
// Wine answers that the link was made and makes none, so whoever goes on through the link finds
// nothing. Windows answers as this one does to a user without the right to make links, and the
// agent then takes the long path. Everything else of the program is as in the product.
#include <windows.h>

namespace {

BOOLEAN WINAPI RefuseSymbolicLink(LPCWSTR, LPCWSTR, DWORD) {
  SetLastError(ERROR_PRIVILEGE_NOT_HELD);
  return FALSE;
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&CreateSymbolicLinkW) __imp_CreateSymbolicLinkW = RefuseSymbolicLink;
}
