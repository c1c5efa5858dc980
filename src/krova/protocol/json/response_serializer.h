// Responses as JSON text.
#pragma once

#include <memory>
#include <streambuf>
#include <string>

#include "krova/core/protocol.h"
#include "krova/protocol/json/value_to_json_adapter.h"

namespace Krova::Protocol::Json {

/// Writes JSON-RPC responses, compact and straight into the sink. Holds no state, so threads may
/// share an object. Each operation appends one JSON object and returns true.
/// \tparam Policy  How secrets are written; `Secure` is the one that there is.
template <typename Policy>
class JsonApiResponseSerializer : public Core::ApiResponseSerializer {
 public:
  /// A result that has an output and no error ends as `output`, any other one as `error`.
  bool SerializeResult(const std::string& id, const std::shared_ptr<Core::MethodResult>& result,
                       std::streambuf& sink,
                       std::shared_ptr<const Data::ErrorValue>& error) override;
  bool SerializeProgress(const std::string& id, const Progress& progress, std::streambuf& sink,
                         std::shared_ptr<const Data::ErrorValue>& error) override;
  /// \param errorValue  A protocol error, see MakeProtocolError. Without a field `request_id` the
  ///     id is written as null. One without `code` or `message` is refused: nothing is written
  ///     then, and \p error tells the field.
  bool SerializeError(const std::shared_ptr<const Data::ErrorValue>& errorValue,
                      std::streambuf& sink,
                      std::shared_ptr<const Data::ErrorValue>& error) override;
};

extern template class JsonApiResponseSerializer<Secure>;

}  // namespace Krova::Protocol::Json
