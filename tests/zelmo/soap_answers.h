// Answers as a server writes them, and a client for tests to make calls with.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "scripted_server.h"
#include "tunrak/exception.h"
#include "tunrak/http.h"
#include "zelmo/soap_stub_adapter.h"

namespace Zelmo::Testing {

/// The version and the object of calls.
inline const Version kVersion("test", "1", "test.version1", "urn:test", "\"urn:test/1\"");
inline const MoRef kSelf{"Folder", "group-d1"};

/// An envelope around the body's content.
inline std::string Envelope(const std::string& body) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<soapenv:Envelope xmlns:soapenv=\"http://schemas.xmlsoap.org/soap/envelope/\""
         " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"
         "<soapenv:Body>" +
         body + "</soapenv:Body></soapenv:Envelope>";
}

/// What a request's envelope is, in bytes.
inline std::string RequestEnvelope(const std::string& body) {
  std::string text = Envelope(body);
  return text.erase(text.find('\n'), 1);
}

inline std::string ResponseBody(const std::string& operation, const std::string& results,
                                const std::string& wireNamespace = "urn:quen25") {
  return Envelope("<" + operation + "Response xmlns=\"" + wireNamespace + "\">" + results + "</" +
                  operation + "Response>");
}

/// A whole answer of HTTP.
inline std::string Response(const std::string& operation, const std::string& results,
                            const std::string& wireNamespace = "urn:quen25") {
  return Tunrak::Testing::HttpAnswer("200 OK", ResponseBody(operation, results, wireNamespace));
}

inline std::string FaultBody(const std::string& type, const std::string& text) {
  return Envelope("<soapenv:Fault><faultcode>soapenv:Server</faultcode><faultstring>" + text +
                  "</faultstring><detail><" + type +
                  "Fault xmlns=\"urn:quen25\"/></detail></soapenv:Fault>");
}

inline std::string FaultAnswer(const std::string& type, const std::string& text) {
  return Tunrak::Testing::HttpAnswer("500 Internal Server Error", FaultBody(type, text));
}

/// The content of a request.
inline std::string ContentOf(const std::string& request) {
  return request.substr(request.find("\r\n\r\n") + 4);
}

/// \return The text of the exception that the call ends in; empty if there was none.
inline std::string FailureOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const Tunrak::Exception& failure) {
    return failure.what();
  }
  return {};
}

/// A logger that is silent.
inline const Tunrak::Service::Logger* SilentLogger() {
  static const Tunrak::Service::Logger logger(Tunrak::Service::LogLevel::kError, false);
  return &logger;
}

/// An adapter for the server, which it knows by its thumbprint.
inline std::shared_ptr<SoapStubAdapter> MakeAdapter(const Tunrak::Testing::ScriptedServer& server,
                                                    const std::string& path,
                                                    const Version* version) {
  const auto context = Tunrak::Ssl::CreateSSLContext(Tunrak::Crypto::CreateKeyStore("", "", {}), 0);
  const auto tcp = Tunrak::Http::CreateTCPConnectionSpec("127.0.0.1", server.Port(), false);
  const auto spec =
      Tunrak::Http::CreateSSLConnectionSpec(tcp, context, "127.0.0.1", server.Thumbprint());
  return CreateSoapStubAdapter(Tunrak::Http::CreateHttpUserAgent(spec), path, version,
                               SilentLogger(), nullptr);
}

}  // namespace Zelmo::Testing
