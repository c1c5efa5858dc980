// What fuzz targets check with: a property that doesn't hold ends the run.
#pragma once

#include <cstdlib>

inline void Require(bool condition) {
  if (!condition) std::abort();
}
