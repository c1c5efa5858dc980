// What all operations have in common: one call, from its text to its reply.
#pragma once

#include <json/json.h>

#include <functional>
#include <string>

#include "core/logging.h"
#include "service/async_service_interface.h"

namespace Halvard::MigratorSvc {

/// A call in progress, in the hands of an operation.
class OperationCall {
 public:
  /// \param name  The operation's full name. Entry and exit of the operation are logged under it.
  explicit OperationCall(const wchar_t* name);

  /// Reads the request and takes the client's language. Called once, before the operation.
  /// \return False when the input is no JSON; the reply is complete then.
  /// \throws Json::Exception when the request is no object, or its locale has no text.
  bool Read(const std::string& operationInput);

  /// The operation's full name, with which its log lines begin.
  const std::wstring& Name() const { return name_; }
  const Json::Value& Request() const { return request_; }
  Json::Value& Reply() { return reply_; }
  LogScope& Log() { return log_; }

  /// Prints a message on the console, in the operator's language.
  void Announce(unsigned int message) const;

  /// Ends the operation well: the reply says so, and the console has a message.
  void Succeed(unsigned int message);

  /// Ends the operation with the failure that a message tells, to the client in the language that
  /// the request names and to the operator on the console.
  void Fail(unsigned int message);

  /// As IsRefusedInPhase of guards.h.
  bool IsRefusedInPhase(const wchar_t* property, const wchar_t* value, unsigned int message);

  /// Checks the credentials, then whether the operation exists for this migration.
  /// \return False when the reply is complete.
  bool PassesGuards();

 private:
  const std::wstring name_;
  LogScope log_;
  Json::Value request_;
  Json::Value reply_;
};

/// Serves one call: calls \p operation unless the input is no JSON, and then \p completion, once,
/// with the reply that the operation has made. A request that jsoncpp can't read as the operation
/// wants it, at whatever place, ends in the same failed reply as one that is no JSON; so does a
/// document of the runner's.
/// \param name  The operation's full name, as "Halvard::MigratorSvc::AsyncServiceImpl::ShutdownHv".
/// \param operation  Asks its guards, does its work, fills the reply.
void RunOperation(const wchar_t* name, const std::string& operationInput,
                  const NativeCompletion& completion,
                  const std::function<void(OperationCall&)>& operation);

}  // namespace Halvard::MigratorSvc
