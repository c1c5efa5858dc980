#include "endpoint.h"

#include <boost/beast/http/field.hpp>
#include <boost/beast/http/status.hpp>
#include <boost/beast/http/verb.hpp>

#include "soap_fault.h"

namespace Lab::Kelvane {
namespace {

namespace http = boost::beast::http;

constexpr std::string_view kContentType = "text/xml; charset=utf-8";

std::string_view View(boost::beast::string_view text) { return {text.data(), text.size()}; }

/// Refuses a header that isn't there exactly once with the value.
void RequireHeader(const HttpRequest& request, const char* name, std::string_view value) {
  if (request.count(name) != 1 || View(request[name]) != value) {
    Refuse("Expected the header " + std::string(name) + ": " + std::string(value));
  }
}

void CheckHeaders(const HttpRequest& request, std::string_view action) {
  if (request.version() != 11) Refuse("Expected HTTP/1.1");
  if (request.method() != http::verb::post) Refuse("Expected POST");
  if (request.count("SOAPAction") != 1 || View(request["SOAPAction"]) != action) {
    Refuse("Expected the header SOAPAction: " + std::string(action), "InvalidVersion");
  }
  RequireHeader(request, "User-Agent", "tunrak/6.0");
  RequireHeader(request, "Content-Type", kContentType);
  if (request.count("Host") != 1 || View(request["Host"]).find(':') == std::string_view::npos) {
    Refuse("Expected the header Host: HOST:PORT");
  }
  if (request.count("Content-Length") != 1 || request.chunked()) {
    Refuse("Expected the header Content-Length");
  }
}

/// \return The session in a cookie header, empty without such a header.
std::string SessionCookie(const HttpRequest& request) {
  constexpr std::string_view kBegin = "zelmo_session=\"";
  if (request.count("Cookie") == 0) return {};
  const std::string_view value = View(request["Cookie"]);
  const bool sound = request.count("Cookie") == 1 && value.size() > kBegin.size() + 1 &&
                     value.substr(0, kBegin.size()) == kBegin && value.back() == '"';
  if (!sound) Refuse("Expected the header Cookie: zelmo_session=\"...\"", "NotAuthenticated");
  return std::string(value.substr(kBegin.size(), value.size() - kBegin.size() - 1));
}

std::string Head(unsigned status, std::size_t length, const std::optional<std::string>& cookie) {
  const auto reason = http::obsolete_reason(static_cast<http::status>(status));
  std::string head = "HTTP/1.1 " + std::to_string(status) + " " + std::string(View(reason)) +
                     "\r\nContent-Type: " + std::string(kContentType) + "\r\n";
  if (cookie) {
    head += "Set-Cookie: zelmo_session=\"" + *cookie + "\"; Path=/; Secure; HttpOnly\r\n";
  }
  return head + "Content-Length: " + std::to_string(length) + "\r\n\r\n";
}

const char* KindName(OperationFault::Kind kind) {
  constexpr const char* kNames[] = {"slow", "pieces", "cut", "close", "fault", "garbage"};
  return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace

/// A request on its way: what the journal will have of it, and the answer.
struct Endpoint::Outcome {
  Json::Value record;
  unsigned status = 200;
  std::string body;
  std::optional<std::string> cookie;
  const OperationFault* fault = nullptr;
  std::string_view space;

  HttpAnswer Finish(Journal& journal, const Origin& origin, bool close) {
    HttpAnswer answer{Head(status, body.size(), cookie) + body, fault, close};
    record["event"] = "request";
    record["connection"] = origin.connection;
    record["request"] = origin.request;
    record["answerBytes"] = static_cast<Json::UInt64>(answer.bytes.size());
    journal.Write(record);
    return answer;
  }
};

Endpoint::Endpoint(std::vector<Service*> services, PlannedFaults& faults, Journal& journal)
    : services_(std::move(services)), faults_(faults), journal_(journal) {}

HttpAnswer Endpoint::Handle(const HttpRequest& request, const Origin& origin) {
  Outcome outcome;
  outcome.space = services_.front()->Space();
  try {
    Serve(request, outcome);
  } catch (const SoapFault& fault) {
    Fault(fault, outcome);
  }
  return outcome.Finish(journal_, origin, !request.keep_alive());
}

HttpAnswer Endpoint::RefuseHttp(const std::string& why, const Origin& origin) {
  Outcome outcome;
  outcome.space = services_.front()->Space();
  Fault(SoapFault(SoapFault::Blame::kClient, "InvalidRequest", "Not HTTP as agreed: " + why),
        outcome);
  return outcome.Finish(journal_, origin, true);
}

void Endpoint::Serve(const HttpRequest& request, Outcome& outcome) {
  Service& service = FindService(request);
  outcome.space = service.Space();
  outcome.record["path"] = std::string(service.Path());
  CheckHeaders(request, service.Action());
  const SoapRequest soap = ReadEnvelope(request.body(), service.Space());
  const std::string operation(soap.Name());
  outcome.record["operation"] = operation;
  outcome.fault = faults_.NextCall(operation);
  if (outcome.fault != nullptr) {
    outcome.record["planned"] = KindName(outcome.fault->kind);
    if (outcome.fault->kind == OperationFault::Kind::kGarbage) {
      Garble(*outcome.fault, outcome);
      return;
    }
    if (outcome.fault->kind == OperationFault::Kind::kFault) {
      Deny(outcome.fault->type, outcome.fault->text);
    }
  }
  ServiceAnswer answer = service.Invoke(soap, SessionCookie(request), outcome.record);
  outcome.record["outcome"] = "answered";
  outcome.body = WriteResponse(operation, service.Space(), answer.results);
  outcome.cookie = std::move(answer.newCookie);
}

Service& Endpoint::FindService(const HttpRequest& request) const {
  for (Service* service : services_) {
    if (View(request.target()) == service->Path()) return *service;
  }
  Refuse("There is no service at " + std::string(View(request.target())));
}

void Endpoint::Fault(const SoapFault& fault, Outcome& outcome) const {
  const bool client = fault.Blames() == SoapFault::Blame::kClient;
  outcome.record["outcome"] = client ? "refused" : "fault";
  outcome.record["fault"] = fault.Type();
  outcome.record["text"] = fault.what();
  outcome.status = 500;
  outcome.body = WriteFault(fault, outcome.space);
}

void Endpoint::Garble(const OperationFault& fault, Outcome& outcome) const {
  outcome.record["outcome"] = "garbage";
  outcome.status = fault.status;
  outcome.body.reserve(fault.text.size() * fault.times);
  for (std::uint32_t i = 0; i < fault.times; ++i) outcome.body += fault.text;
}

}  // namespace Lab::Kelvane
