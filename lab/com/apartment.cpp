#include "com/apartment.h"

namespace Lab {
namespace {

thread_local int gEntries = 0;

}  // namespace

bool EnterApartment() { return gEntries++ == 0; }

bool IsInApartment() { return gEntries > 0; }

}  // namespace Lab
