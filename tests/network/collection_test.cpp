#include "collection_test.h"

namespace Halvard::Network {

std::vector<Testing::LogLine> LinesOf(const std::wstring& function) {
  std::vector<Testing::LogLine> lines = Testing::OwnLog();
  std::erase_if(lines, [&](const Testing::LogLine& line) {
    return !line.message.starts_with(function + L":");
  });
  return lines;
}

}  // namespace Halvard::Network
