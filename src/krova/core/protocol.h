// What a transport needs of a wire format, so that it knows none.
#pragma once

#include <istream>
#include <memory>
#include <streambuf>
#include <string>

#include "krova/core/execution.h"
#include "krova/core/identifiers.h"
#include "krova/data/value.h"

namespace Krova::Core {

/// Gets the requests that a deserializer has understood.
class ApiRequestVisitor {
 public:
  /// \param id  The request's id, never empty.
  /// \param input  May be null: a value left unset.
  virtual void Invoke(const std::string& id, const std::shared_ptr<const MethodIdentifier>& method,
                      const std::shared_ptr<const Data::DataValue>& input,
                      const std::shared_ptr<ExecutionContext>& context) = 0;
  virtual ~ApiRequestVisitor() = default;
};

/// Reads requests. Both forms return true when the visitor was called, and false when \p error was
/// set to a protocol error instead. What the visitor throws passes through; nothing else does.
class ApiRequestDeserializer {
 public:
  /// \param source  Its read area is the request.
  virtual bool Deserialize(std::streambuf& source, ApiRequestVisitor& visitor,
                           std::shared_ptr<const Data::ErrorValue>& error) = 0;
  /// \param source  Read up to its end.
  virtual bool Deserialize(std::istream& source, ApiRequestVisitor& visitor,
                           std::shared_ptr<const Data::ErrorValue>& error) = 0;
  virtual ~ApiRequestDeserializer() = default;
};

/// Writes responses. \p sink grows with what is written; each operation returns true.
class ApiResponseSerializer {
 public:
  virtual bool SerializeResult(const std::string& id, const std::shared_ptr<MethodResult>& result,
                               std::streambuf& sink,
                               std::shared_ptr<const Data::ErrorValue>& error) = 0;
  virtual bool SerializeProgress(const std::string& id, const Progress& progress,
                                 std::streambuf& sink,
                                 std::shared_ptr<const Data::ErrorValue>& error) = 0;
  virtual bool SerializeError(const std::shared_ptr<const Data::ErrorValue>& errorValue,
                              std::streambuf& sink,
                              std::shared_ptr<const Data::ErrorValue>& error) = 0;
  virtual ~ApiResponseSerializer() = default;
};

}  // namespace Krova::Core
