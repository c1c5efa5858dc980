// COM on a thread, and the classes that the machine has.
#include "com/apartment.h"
#include "com/com_object.h"
#include "machine/call.h"
#include "shell/shell_objects.h"
#include "windows.h"

#include "shldisp.h"

namespace {

struct ComClass {
  CLSID id;
  IUnknown* (*make)();  ///< The object with one reference.
};

const ComClass kClasses[] = {{CLSID_Shell, Lab::MakeShell}};

}  // namespace

HRESULT CoInitialize(LPVOID reserved) {
  const Lab::Call call("CoInitialize");
  if (const auto planned = Lab::PlannedResult(call)) return *planned;
  LAB_SUPPORTS(reserved == nullptr);
  return Lab::EnterApartment() ? S_OK : S_FALSE;
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID id,
                         LPVOID* object) {
  LAB_SUPPORTS(object != nullptr);
  *object = nullptr;
  const Lab::Call call("CoCreateInstance");
  if (const auto planned = Lab::PlannedResult(call)) return *planned;
  LAB_SUPPORTS(outer == nullptr && context == CLSCTX_INPROC_SERVER);
  if (!Lab::IsInApartment()) return CO_E_NOTINITIALIZED;
  for (const ComClass& entry : kClasses) {
    if (entry.id != classId) continue;
    IUnknown* const made = entry.make();
    const HRESULT result = made->QueryInterface(id, object);
    made->Release();
    return result;
  }
  return REGDB_E_CLASSNOTREG;
}
