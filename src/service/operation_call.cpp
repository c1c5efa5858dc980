#include "service/operation_call.h"

#include "core/console.h"
#include "core/json_documents.h"
#include "core/locales.h"
#include "core/messages.h"
#include "service/api_availability.h"
#include "service/documents.h"
#include "service/guards.h"

namespace Halvard::MigratorSvc {
namespace {

/// In English for every client: at this point nobody knows its language.
constexpr wchar_t kUnreadableInput[] =
    L"Internal error. Failed to convert input string to Json object.";

}  // namespace

OperationCall::OperationCall(const wchar_t* name) : name_(name), log_(name_, L"halvard") {}

void OperationCall::Announce(unsigned int message) const { PrintLine(GetLocalizedString(message)); }

void OperationCall::Succeed(unsigned int message) {
  SetSuccess(reply_);
  Announce(message);
}

void OperationCall::Fail(unsigned int message) {
  SetFailure(reply_, GetLocalizedStringIn(message, RequestLocale(request_)));
  Announce(message);
}

bool OperationCall::IsRefusedInPhase(const wchar_t* property, const wchar_t* value,
                                     unsigned int message) {
  return MigratorSvc::IsRefusedInPhase(name_, {property, value, message}, request_, reply_);
}

bool OperationCall::PassesGuards() {
  return ValidatePassedCredentials(request_, reply_) && IsHalvardApiAvailable(name_, reply_);
}

bool OperationCall::Read(const std::string& operationInput) {
  if (!ConvertStringToJsonObject(operationInput, request_)) {
    SetFailure(reply_, kUnreadableInput);
    return false;
  }
  SetMCLocale(RequestLocale(request_));
  return true;
}

void RunOperation(const wchar_t* name, const std::string& operationInput,
                  const NativeCompletion& completion,
                  const std::function<void(OperationCall&)>& operation) {
  OperationCall call(name);
  try {
    if (call.Read(operationInput)) operation(call);
  } catch (const Json::Exception& exception) {
    // A document that is no object, or a member of a type that has no text. It may be one that the
    // operation has from the runner.
    call.Log().Warn(L"%s: The request, or the Upgrade Runner's output, can't be read: %hs",
                    call.Name().c_str(), exception.what());
    call.Reply() = Json::Value();
    SetFailure(call.Reply(), kUnreadableInput);
  }
  completion(Json::StyledWriter().write(call.Reply()), nullptr, Krova::kFinished);
}

}  // namespace Halvard::MigratorSvc
