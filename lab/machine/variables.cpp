#include "machine/variables.h"

namespace Lab {

std::wstring ExpandVariables(std::wstring_view text, const Lab::Variables& variables) {
  std::wstring expanded;
  for (std::size_t begin = text.find(L'%'); begin != std::wstring_view::npos;
       begin = text.find(L'%')) {
    expanded += text.substr(0, begin);
    text.remove_prefix(begin);
    const std::size_t end = text.find(L'%', 1);
    const auto known =
        end == std::wstring_view::npos ? variables.end() : variables.find(text.substr(1, end - 1));
    if (known == variables.end()) {
      expanded += L'%';
      text.remove_prefix(1);
    } else {
      expanded += known->second;
      text.remove_prefix(end + 1);
    }
  }
  return expanded.append(text);
}

}  // namespace Lab
