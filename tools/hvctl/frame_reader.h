// Takes the frames out of a body of type "application/vnd.ostrel.krova.framed".
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace Hvctl {

/// A frame is the payload's length in hexadecimal, CR LF, the payload, CR LF.
class FrameReader {
 public:
  /// \param onFrame  Called with each whole payload, in order, from within Append.
  explicit FrameReader(std::function<void(const std::string&)> onFrame)
      : onFrame_(std::move(onFrame)) {}

  /// Takes the next bytes of the body, cut anywhere.
  /// Throws Failure (kApiError) on what can't be a frame or is longer than 1 GiB.
  void Append(std::string_view bytes);

  /// True when no frame has been begun and not ended.
  bool AtBoundary() const { return buffer_.empty(); }

 private:
  bool TakeFrame();

  std::function<void(const std::string&)> onFrame_;
  std::string buffer_;
};

}  // namespace Hvctl
