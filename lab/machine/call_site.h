// Where in the program a Windows function is called from.
#pragma once

#include <string>

namespace Lab {

/// \param functionsReturn  Where the lab's function goes on behind what asks: the return address of
///                         a function that it has called directly.
/// \return The return addresses from the caller of the lab's function out to the program's entry,
///         as hexadecimal numbers with blanks between, each counted from the beginning of the
///         program's image: the same in every run of one build, and what addr2line takes. Addresses
///         in libraries are left out, and so is what lies too deep. Empty when nothing is known.
std::string CallSiteOf(const void* functionsReturn);

}  // namespace Lab
