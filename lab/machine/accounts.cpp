#include "machine/accounts.h"

#include <map>

#include "machine/text.h"
#include "winerror.h"

namespace Lab {
namespace {

std::wstring Wide(const Json::Value& text) { return ToWide(text.asString()); }

std::uint32_t RefusalOfAccount(const std::string& state) {
  static const std::map<std::string, std::uint32_t> kRefusals = {
      {"usable", ERROR_SUCCESS},
      {"disabled", ERROR_ACCOUNT_DISABLED},
      {"lockedOut", ERROR_ACCOUNT_LOCKED_OUT},
      {"passwordExpired", ERROR_PASSWORD_EXPIRED},
      {"passwordMustChange", ERROR_PASSWORD_MUST_CHANGE},
      {"notFromTheNetwork", ERROR_LOGON_TYPE_NOT_GRANTED}};
  return kRefusals.at(state);
}

std::uint32_t RefusalOfDomain(const std::string& state) {
  static const std::map<std::string, std::uint32_t> kRefusals = {
      {"whole", ERROR_SUCCESS},
      {"noController", ERROR_NO_LOGON_SERVERS},
      {"noMachineSecret", ERROR_NO_TRUST_LSA_SECRET},
      {"noMachineAccount", ERROR_NO_TRUST_SAM_ACCOUNT},
      {"broken", ERROR_TRUSTED_RELATIONSHIP_FAILURE}};
  return kRefusals.at(state);
}

std::optional<DomainController> ReadController(const Json::Value& controller) {
  if (controller.isNull()) return std::nullopt;
  return DomainController{Wide(controller["name"]), Wide(controller["address"])};
}

}  // namespace

bool Domain::IsNamed(std::wstring_view text) const {
  return EqualNoCase(text, name) || EqualNoCase(text, netbiosName);
}

std::vector<Account> ReadAccounts(const Json::Value& accounts) {
  std::vector<Account> read;
  for (const std::string& fullName : accounts.getMemberNames()) {
    const std::size_t backslash = fullName.find('\\');
    const Json::Value& account = accounts[fullName];
    read.push_back({ToWide(fullName.substr(0, backslash)), ToWide(fullName.substr(backslash + 1)),
                    Wide(account["password"]),
                    RefusalOfAccount(account.get("state", "usable").asString())});
  }
  return read;
}

std::optional<Domain> ReadDomain(const Json::Value& domain) {
  if (domain.isNull()) return std::nullopt;
  return Domain{Wide(domain["name"]), Wide(domain["netbiosName"]),
                RefusalOfDomain(domain.get("trust", "whole").asString()),
                ReadController(domain["controller"])};
}

}  // namespace Lab
