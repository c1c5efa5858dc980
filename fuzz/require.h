// What fuzz targets check with: a property that doesn't hold ends the run.
#pragma once

#include <cstdio>
#include <cstdlib>

/// \param file, line  Of the caller, who is named: an input may do no harm when it is run again.
inline void Require(bool condition, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  if (condition) return;
  std::fprintf(stderr, "%s:%d: a property doesn't hold\n", file, line);
  std::abort();
}
