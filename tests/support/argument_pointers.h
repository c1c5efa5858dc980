// Words as functions that start programs want them.
#pragma once

#include <string>
#include <vector>

namespace Lab {

/// \return The places of the texts, and a null behind them. Good as long as the texts stay as they
///         are.
inline std::vector<char*> ArgumentPointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace Lab
