// Tests of functions that Wine lacks. They run against the lab, and under Wine in a program that
// brings the functions along (tests/wine/supplied).
#pragma once

#include "support.h"

namespace WindowsApi {

/// \return True when this program brings along what Wine lacks.
bool HasWhatWineLacks();

/// Takes back a shutdown that a test has initiated: the next one begins anew.
void ForgetShutdown();

}  // namespace WindowsApi

/// Leaves the test, by name and with the reason in the output, where the function is Wine's own.
#define SKIP_ON_BARE_WINE(reason)                                                          \
  do {                                                                                     \
    if (WindowsApi::OnWine() && !WindowsApi::HasWhatWineLacks()) GTEST_SKIP() << (reason); \
  } while (false)
