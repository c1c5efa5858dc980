#pragma once

#include <boost/system/error_code.hpp>

namespace Krova::Transport::Http::Error {

/// What a read or a write of the transport can end with.
enum TransportError {
  kInvalidFrameHeader = 1,
  kIncompleteFrame = 2,
  kUnsupportedContent = 3,
  kProtocolReset = 4,  ///< the normal end of a body; the only one that is raised
};

/// The category of these codes, "Krova Transport Http".
const boost::system::error_category& transport_category();

inline boost::system::error_code MakeTransportError(TransportError code) {
  return {code, transport_category()};
}

}  // namespace Krova::Transport::Http::Error
