// Requests from JSON text.
#pragma once

#include <istream>
#include <memory>
#include <streambuf>

#include "krova/core/protocol.h"

namespace Krova::Protocol::Json {

/// Reads JSON-RPC requests with the one method "invoke". The text goes straight into data values,
/// without a document in between: it is copied once and parsed in that copy, in one pass and
/// without recursion. Holds no state between requests, so threads may share an object.
///
/// Memory: no text takes more than 64 bytes for each of its own, and the usual request about twice
/// its size. Only the first JSON value of the source is looked at.
///
/// An error is an ErrorValue "invalid_request", see MakeProtocolError.
class JsonApiRequestDeserializer : public Core::ApiRequestDeserializer {
 public:
  bool Deserialize(std::streambuf& source, Core::ApiRequestVisitor& visitor,
                   std::shared_ptr<const Data::ErrorValue>& error) override;
  bool Deserialize(std::istream& source, Core::ApiRequestVisitor& visitor,
                   std::shared_ptr<const Data::ErrorValue>& error) override;
};

}  // namespace Krova::Protocol::Json
