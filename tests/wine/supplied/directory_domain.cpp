// Takes the place of the import of DsGetDcNameW in a program that is tested under Wine, which
// answers 9003. This one answers as on a machine outside any domain.
#include <windows.h>

#include <dsgetdc.h>

namespace {

DWORD WINAPI FindNoController(LPCWSTR, LPCWSTR, GUID*, LPCWSTR, ULONG,
                              PDOMAIN_CONTROLLER_INFOW* controller) {
  return controller == nullptr ? ERROR_INVALID_PARAMETER : ERROR_NO_SUCH_DOMAIN;
}

}  // namespace

// What a call of an imported function goes through. The linker takes this one before it looks into
// the import library.
extern "C" {
decltype(&DsGetDcNameW) __imp_DsGetDcNameW = FindNoController;
}
