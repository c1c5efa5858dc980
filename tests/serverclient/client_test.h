// What the tests of the Kelvane Server's client start from.
#pragma once

#include <string>
#include <vector>

#include "core/core_test.h"
#include "core/text.h"
#include "scripted_server.h"
#include "serverclient/tunrak_core.h"
#include "tunrak/ssl.h"
#include "zelmo/soap_answers.h"

namespace Halvard::ServerClient {

inline constexpr const char* kUser = "J\xC3\xB6rg & Co";
inline constexpr const char* kPassword = "pa<ss>&w\xC3\xB6rd";

/// The client's libraries, started once and as strict as at the start of the process.
class ClientTest : public CoreTest {
 protected:
  ClientTest() {
    static const bool initialized = (InitTunrakCore(), true);
    (void)initialized;
    Tunrak::Ssl::SetVerifySSLCertificates(Tunrak::Ssl::kVerifyDefault);
  }
};

/// A server's content, with the members given behind the root folder and the collector.
inline std::string ContentAnswer(const std::string& managers) {
  return Zelmo::Testing::Response(
      "RetrieveContent",
      "<result><rootFolder type=\"Folder\">group-d1</rootFolder>"
      "<propertyCollector type=\"PropertyCollector\">pc</propertyCollector>" +
          managers + "</result>");
}

inline constexpr const char* kSessionManager =
    "<sessionManager type=\"SessionManager\">sm</sessionManager>";
inline constexpr const char* kExtensionManager =
    "<extensionManager type=\"ExtensionManager\">em</extensionManager>";

inline std::string UsualContent() {
  return ContentAnswer(std::string(kSessionManager) + kExtensionManager);
}

inline std::string LoginAnswer() {
  std::string answer =
      Zelmo::Testing::Response("Login",
                               "<result><key>k</key><userName>u</userName><locale>en</locale>"
                               "<loginTime>2026-02-03T04:05:06Z</loginTime></result>");
  return answer.insert(answer.find("\r\n") + 2, "Set-Cookie: zelmo_session=\"s1\"; Path=/\r\n");
}

inline std::string LogoutAnswer() { return Zelmo::Testing::Response("Logout", ""); }

/// The contents of the requests, envelopes included.
inline std::vector<std::string> Contents(const Tunrak::Testing::ScriptedServer& server) {
  std::vector<std::string> contents;
  for (const std::string& request : server.Requests()) {
    contents.push_back(Zelmo::Testing::ContentOf(request));
  }
  return contents;
}

inline std::string LoginRequest() {
  return Zelmo::Testing::RequestEnvelope(
      "<Login xmlns=\"urn:quen25\"><self type=\"SessionManager\">sm</self>"
      "<userName>J\xC3\xB6rg &amp; Co</userName><password>pa&lt;ss&gt;&amp;w\xC3\xB6rd</password>"
      "<locale>en</locale></Login>");
}

inline std::string LogoutRequest() {
  return Zelmo::Testing::RequestEnvelope(
      "<Logout xmlns=\"urn:quen25\"><self type=\"SessionManager\">sm</self></Logout>");
}

inline std::string ContentRequest() {
  return Zelmo::Testing::RequestEnvelope(
      "<RetrieveContent xmlns=\"urn:quen25\"><self type=\"ServiceInstance\">ServiceInstance</self>"
      "</RetrieveContent>");
}

inline std::wstring Wide(const Tunrak::Testing::ScriptedServer& server) {
  return Utf8ToWide(server.Address());
}

/// The end of a line about an operation: where it went.
inline std::wstring Destination(const Tunrak::Testing::ScriptedServer& server,
                                const std::wstring& tunnelPath = L"") {
  return L" Host:127.0.0.1, Port:" + std::to_wstring(server.Port()) + L", TunnelPath:" +
         tunnelPath + L", User:J\u00F6rg & Co";
}

}  // namespace Halvard::ServerClient
