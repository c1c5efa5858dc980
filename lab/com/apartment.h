// Threads that have COM.
#pragma once

#include "winerror.h"

namespace Lab {

/// What a thread shares its objects with.
enum class Apartment { kSingleThreaded, kMultithreaded };

/// Gives the calling thread COM.
/// \return S_FALSE when it had it before, RPC_E_CHANGED_MODE when that was of another kind.
HRESULT EnterApartment(Apartment kind);

/// Undoes one successful EnterApartment; nothing on a thread without COM.
void LeaveApartment();

/// \return True when the calling thread has COM.
bool IsInApartment();

}  // namespace Lab
