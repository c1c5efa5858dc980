// Threads that have COM.
#pragma once

namespace Lab {

/// Gives the calling thread COM. \return False when it had it before.
bool EnterApartment();

/// \return True when the calling thread has COM.
bool IsInApartment();

}  // namespace Lab
