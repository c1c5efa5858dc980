// The table of all benchmarks, which `./check --bench` prints at its end.
#pragma once

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

namespace Bench {

/// Adds a row to the file that the environment variable HALVARD_BENCH_TABLE names; without one,
/// nothing is done. What is printed besides is the caller's.
/// \param ours  What was measured of ours, with its unit.
/// \param others  The same of others, or how many times as much theirs is; may be empty.
inline void AddRow(const std::string& benchmark, const std::string& what, const std::string& ours,
                   const std::string& others) {
  const char* const path = std::getenv("HALVARD_BENCH_TABLE");
  if (path == nullptr) return;
  std::ofstream(path, std::ios::app)
      << benchmark << '\t' << what << '\t' << ours << '\t' << others << '\n';
}

/// \return A value with its unit, as printf formats it.
__attribute__((format(printf, 1, 2))) inline std::string Text(const char* format, ...) {
  char text[100];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  return text;
}

}  // namespace Bench
