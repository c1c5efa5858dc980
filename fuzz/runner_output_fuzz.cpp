// Any bytes as the runner's output end in properties or in an exception of the JSON library, for
// each type of migration and both lines of sources; and what is chosen out of them is usable.
#include <arpa/inet.h>

#include <cstddef>
#include <cstdint>

#include "core/json_documents.h"
#include "core/property_store.h"
#include "core/text.h"
#include "discovery/installed_products.h"
#include "host/registry.h"
#include "network/name_resolution.h"
#include "network/name_validation.h"
#include "require.h"
#include "runner/precheck_findings.h"
#include "runner/preupgrade_output.h"

namespace Halvard {

// In place of asking the machine and its network.

bool Network::ValidateFqdn(const std::wstring& name, bool allowDhcp) {
  return !name.empty() && (allowDhcp || name.size() % 3 != 0);
}

bool Network::IsIpLiteral(const std::wstring& text) {
  const std::string utf8 = WideToUtf8(text);
  in6_addr address{};
  return inet_pton(AF_INET, utf8.c_str(), &address) == 1 ||
         inet_pton(AF_INET6, utf8.c_str(), &address) == 1;
}

bool Discovery::localTumInstalled = false;

std::wstring Host::GetInstallParameter(const std::wstring&) { return {}; }

namespace {

template <typename Read>
void Try(Read read) {
  try {
    read();
  } catch (const Json::Exception&) {
    // What can't be converted.
  }
}

void Forget() {
  for (const wchar_t* name :
       {L"APP_NET_PNID", L"PNID_ERROR", L"CERT_IP_ADDRESSES", L"CERT_DNS_NAMES"}) {
    gProperties[name] = L"";
  }
}

void CheckOutcome(const Json::Value& output, bool parsed, bool platform) {
  const std::wstring name = gProperties[L"APP_NET_PNID"];
  Require(parsed == gProperties[L"PNID_ERROR"].empty() || !output.isArray());
  Require(parsed != name.empty());
  if (parsed && !platform) Require(Network::ValidateFqdn(name, false) || name.size() % 3 == 0);
  for (const std::wstring& text : SplitString(gProperties[L"CERT_IP_ADDRESSES"].Value(), L',')) {
    Require(Network::IsIpLiteral(text));
  }
  for (const std::wstring& text : SplitString(gProperties[L"CERT_DNS_NAMES"].Value(), L',')) {
    Require(!Network::IsIpLiteral(text) && text.find(L'*') == std::wstring::npos);
  }
}

void ReadAsType(const Json::Value& output, const wchar_t* type, bool platform) {
  gProperties[L"MIGRATION_TYPE"] = type;
  gProperties[L"RIMSAWIN_INSTALLED"] = platform ? L"1" : L"";
  Forget();
  Try([&] { CheckOutcome(output, Runner::ParsePreUpgradeOutput(output), platform); });
}

void ReadFindings(const Json::Value& output) {
  std::wstring errors;
  std::wstring warnings;
  Runner::ParseErrorsWarningsFromPreUpgradeOutput(output, errors, warnings);
  Require(errors.empty() || errors.starts_with(L"<1133>"));
  Require(warnings.empty() || warnings.starts_with(L"<1055>"));
}

}  // namespace
}  // namespace Halvard

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Halvard;
  Json::Value output;
  // The agent doesn't go on with what the reader made of a broken text.
  if (!ParseJson({reinterpret_cast<const char*>(data), size}, output)) return 0;
  for (const wchar_t* type : {L"infrastructure", L"management", L"embedded"}) {
    ReadAsType(output, type, false);
  }
  ReadAsType(output, L"embedded", true);
  Try([&] { ReadFindings(output); });
  return 0;
}
