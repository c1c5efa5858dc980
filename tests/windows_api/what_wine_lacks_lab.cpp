// The native side of the tests of functions that Wine lacks.
#include "what_wine_lacks.h"

bool WindowsApi::HasWhatWineLacks() { return false; }

// Each test has a machine of its own.
void WindowsApi::ForgetShutdown() {}
