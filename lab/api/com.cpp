// COM on a thread, and the classes that the machine has.
#include "com/apartment.h"
#include "com/com_object.h"
#include "firewall/firewall_objects.h"
#include "machine/call.h"
#include "shell/shell_objects.h"
#include "windows.h"

#include "netfw.h"
#include "shldisp.h"

namespace {

struct ComClass {
  CLSID id;
  IUnknown* (*make)();  ///< The object with one reference.
};

const ComClass kClasses[] = {{CLSID_Shell, Lab::MakeShell},
                             {CLSID_NetFwMgr, Lab::MakeFirewallManager},
                             {CLSID_NetFwOpenPort, Lab::MakeOpenPort}};

Lab::Apartment ApartmentOf(DWORD kind) {
  const bool isSingle = (kind & COINIT_APARTMENTTHREADED) != 0;
  return isSingle ? Lab::Apartment::kSingleThreaded : Lab::Apartment::kMultithreaded;
}

}  // namespace

HRESULT CoInitialize(LPVOID reserved) {
  const Lab::Call call("CoInitialize");
  if (const auto planned = Lab::PlannedResult(call)) return *planned;
  LAB_SUPPORTS(reserved == nullptr);
  return Lab::EnterApartment(Lab::Apartment::kSingleThreaded);
}

HRESULT CoInitializeEx(LPVOID reserved, DWORD kind) {
  const Lab::Call call("CoInitializeEx");
  if (const auto planned = Lab::PlannedResult(call)) return *planned;
  LAB_SUPPORTS(reserved == nullptr);
  LAB_SUPPORTS((kind & ~DWORD{COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE}) == 0);
  return Lab::EnterApartment(ApartmentOf(kind));
}

void CoUninitialize() {
  const Lab::Call call("CoUninitialize");
  LAB_SUPPORTS(!call.PlannedError());
  Lab::LeaveApartment();
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
