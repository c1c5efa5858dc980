#include "com/apartment.h"

namespace Lab {
namespace {

thread_local int gEntries = 0;
thread_local Apartment gKind = Apartment::kSingleThreaded;

}  // namespace

HRESULT EnterApartment(Apartment kind) {
  if (gEntries > 0 && gKind != kind) return RPC_E_CHANGED_MODE;
  gKind = kind;
  return gEntries++ == 0 ? S_OK : S_FALSE;
}

void LeaveApartment() {
  if (gEntries > 0) --gEntries;
}

bool IsInApartment() { return gEntries > 0; }

}  // namespace Lab
