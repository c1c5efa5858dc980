#include "zelmo/soap_stub_adapter.h"

#include <boost/algorithm/string/predicate.hpp>
#include <locale>
#include <string_view>

#include "zelmo/fault.h"

namespace Zelmo {
namespace {

constexpr unsigned kOk = 200;
constexpr unsigned kFault = 500;
constexpr std::string_view kSessionCookie = "zelmo_session=";

bool IsXml(const std::string& contentType) {
  constexpr std::string_view kType = "text/xml";
  const std::string_view type = std::string_view(contentType).substr(0, contentType.find(';'));
  const std::string_view trimmed = type.substr(0, type.find_last_not_of(" \t") + 1);
  return boost::iequals(trimmed, kType, std::locale::classic());
}

std::string StatusText(const Tunrak::Http::Response& response) {
  return "HTTP status " + std::to_string(response.status) +
         (response.reason.empty() ? "" : " " + response.reason);
}

[[noreturn]] void ThrowFault(const Answer& answer) {
  const std::string type = answer.FaultType();
  throw Fault(type, (type.empty() ? "Fault" : type) + ": " + answer.FaultText());
}

}  // namespace

CallResults::CallResults(std::unique_ptr<Answer> answer, const Version& version,
                         const char* operation)
    : answer_(std::move(answer)),
      results_(answer_->Results(version, operation)),
      operation_(operation) {}

void CallResults::Refuse() const {
  throw Tunrak::Exception("Unexpected answer: " + std::to_string(results_.size()) + " results of " +
                          operation_ + ".");
}

pugi::xml_node CallResults::OneOrNone() const {
  if (results_.size() > 1) Refuse();
  return results_.empty() ? pugi::xml_node() : results_.front();
}

pugi::xml_node CallResults::One() const {
  if (results_.size() != 1) Refuse();
  return results_.front();
}

void CallResults::None() const {
  if (!results_.empty()) Refuse();
}

SoapStubAdapter::SoapStubAdapter(std::shared_ptr<Tunrak::Http::UserAgent> userAgent,
                                 std::string path, const Version* version,
                                 const Tunrak::Service::Logger* logger)
    : userAgent_(std::move(userAgent)),
      path_(std::move(path)),
      version_(version),
      logger_(logger) {}

std::shared_ptr<ManagedObject> SoapStubAdapter::CreateStub(const MoRef& reference) const {
  const Type* type = FindType(reference.type);
  return type == nullptr ? std::make_shared<ManagedObject>(reference) : type->NewStub(reference);
}

CallResults SoapStubAdapter::Invoke(const MoRef& self, const char* operation,
                                    const WriteArguments& writeArguments) {
  const std::string place = std::string(operation) + " on " + userAgent_->Peer();
  logger_->Write(Tunrak::Service::LogLevel::kVerbose, place);
  try {
    std::unique_ptr<Answer> answer =
        Read(Post(WriteCall(*version_, self, operation, writeArguments)));
    if (answer->IsFault()) ThrowFault(*answer);
    return {std::move(answer), *version_, operation};
  } catch (const Fault& fault) {
    throw Fault(fault.GetType(), LoggedFailure(place, fault));
  } catch (const Tunrak::Exception& failure) {
    throw Tunrak::Exception(LoggedFailure(place, failure));
  }
}

std::string SoapStubAdapter::LoggedFailure(const std::string& place,
                                           const Tunrak::Exception& failure) const {
  const std::string text = place + " failed: " + failure.what();
  logger_->Write(Tunrak::Service::LogLevel::kError, text);
  return text;
}

Tunrak::Http::Response SoapStubAdapter::Post(const std::string& content) {
  Tunrak::Http::Request request;
  request.path = path_;
  request.headers = {{"Content-Type", "text/xml; charset=utf-8"},
                     {"SOAPAction", version_->GetSoapAction()}};
  if (!session_.empty()) request.headers.emplace_back("Cookie", session_);
  request.content = content;
  Tunrak::Http::Response response = userAgent_->Post(request);
  KeepSession(response);
  return response;
}

void SoapStubAdapter::KeepSession(const Tunrak::Http::Response& response) {
  for (const std::string& cookie : response.cookies) {
    if (cookie.starts_with(kSessionCookie)) session_ = cookie.substr(0, cookie.find(';'));
  }
}

std::unique_ptr<Answer> SoapStubAdapter::Read(Tunrak::Http::Response response) const {
  if ((response.status != kOk && response.status != kFault) || !IsXml(response.contentType)) {
    throw Tunrak::Exception(path_ + " was answered with " + StatusText(response) + " of type \"" +
                            response.contentType + "\".");
  }
  auto answer = std::make_unique<Answer>(std::move(response.content));
  if (answer->IsFault() != (response.status == kFault)) {
    throw Tunrak::Exception("Unexpected answer: " + StatusText(response) +
                            (answer->IsFault() ? " with a fault." : " without a fault."));
  }
  return answer;
}

std::shared_ptr<SoapStubAdapter> CreateSoapStubAdapter(
    const std::shared_ptr<Tunrak::Http::UserAgent>& userAgent, const std::string& path,
    const Version* version, const Tunrak::Service::Logger* logger,
    const ResultFilter* resultFilter) {
  if (userAgent == nullptr || version == nullptr || logger == nullptr || resultFilter != nullptr) {
    throw Tunrak::Exception("A stub adapter needs a user agent, a version and a logger alone.");
  }
  return std::make_shared<SoapStubAdapter>(userAgent, path, version, logger);
}

}  // namespace Zelmo
