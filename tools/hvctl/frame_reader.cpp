#include "frame_reader.h"

#include <charconv>

#include "failure.h"

namespace Hvctl {
namespace {

constexpr std::string_view kLineEnd = "\r\n";
constexpr std::size_t kLongestLengthLine = 8;
constexpr std::size_t kLongestPayload = std::size_t{1} << 30;

[[noreturn]] void ThrowNotAFrame() {
  throw Failure(ExitCode::kApiError, "The agent's answer isn't framed as it should be.");
}

std::size_t ParseLength(std::string_view line) {
  std::size_t length = 0;
  const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), length, 16);
  if (line.empty() || error != std::errc() || end != line.data() + line.size() ||
      length > kLongestPayload) {
    ThrowNotAFrame();
  }
  return length;
}

}  // namespace

void FrameReader::Append(std::string_view bytes) {
  buffer_ += bytes;
  while (TakeFrame()) {
  }
}

bool FrameReader::TakeFrame() {
  const std::size_t lineEnd = buffer_.find(kLineEnd);
  if (lineEnd == std::string::npos) {
    if (buffer_.size() > kLongestLengthLine + kLineEnd.size()) ThrowNotAFrame();
    return false;
  }
  if (lineEnd > kLongestLengthLine) ThrowNotAFrame();
  const std::size_t length = ParseLength(std::string_view(buffer_).substr(0, lineEnd));
  const std::size_t begin = lineEnd + kLineEnd.size();
  if (buffer_.size() < begin + length + kLineEnd.size()) return false;
  if (buffer_.compare(begin + length, kLineEnd.size(), kLineEnd) != 0) ThrowNotAFrame();
  const std::string payload = buffer_.substr(begin, length);
  buffer_.erase(0, begin + length + kLineEnd.size());
  onFrame_(payload);
  return true;
}

}  // namespace Hvctl
