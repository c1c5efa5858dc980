#include "krova/transport/http/transport_error.h"

#include <string>

namespace Krova::Transport::Http::Error {
namespace {

class TransportCategory : public boost::system::error_category {
 public:
  const char* name() const noexcept override { return "Krova Transport Http"; }
  std::string message(int code) const override {
    switch (code) {
      case kInvalidFrameHeader:
        return "invalid_frame_header";
      case kIncompleteFrame:
        return "incomplete_frame";
      case kUnsupportedContent:
        return "unsupported content";
      case kProtocolReset:
        return "protocol reset";
      default:
        return "transport error";
    }
  }
};

}  // namespace

const boost::system::error_category& transport_category() {
  static const TransportCategory category;
  return category;
}

}  // namespace Krova::Transport::Http::Error
