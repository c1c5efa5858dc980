#include "machine/accounts.h"

#include <algorithm>
#include <map>
#include <utility>

#include "machine/json_text.h"
#include "machine/text.h"
#include "winerror.h"

namespace Lab {
namespace {

/// Accounts that people make are counted from here.
constexpr std::size_t kFirstAccountNumber = 1001;

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
  return DomainController{WideText(controller["name"]), WideText(controller["address"])};
}

}  // namespace

bool Account::IsOf(std::wstring_view wanted) const {
  return sid == wanted || std::ranges::find(groups, wanted) != groups.end();
}

bool Domain::IsNamed(std::wstring_view text) const {
  return EqualNoCase(text, name) || EqualNoCase(text, netbiosName);
}

std::wstring ComputerSid(const std::wstring& computerName, const std::wstring& userName,
                         const std::wstring& userSid) {
  const bool isUserLocal = EqualNoCase(userName.substr(0, userName.find(L'\\')), computerName);
  if (!isUserLocal) return L"S-1-5-21-3623811015-3361044348-30300820";
  return userSid.substr(0, userSid.rfind(L'-'));
}

std::vector<Account> ReadAccounts(const Json::Value& accounts, const std::wstring& computerName,
                                  const std::wstring& userName, const std::wstring& userSid) {
  std::vector<Account> read;
  for (const std::string& fullName : accounts.getMemberNames()) {
    const std::size_t backslash = fullName.find('\\');
    const Json::Value& description = accounts[fullName];
    Account account{ToWide(fullName.substr(0, backslash)), ToWide(fullName.substr(backslash + 1)),
                    WideText(description["password"]),
                    RefusalOfAccount(description.get("state", "usable").asString())};
    for (const Json::Value& group : description["groups"])
      account.groups.push_back(WideText(group));
    account.mayLogOnAsService = description.get("serviceLogon", false).asBool();
    if (description.isMember("sid")) {
      account.sid = WideText(description["sid"]);
    } else if (EqualNoCase(ToWide(fullName), userName)) {
      account.sid = userSid;
    } else {
      account.sid = EqualNoCase(account.domain, computerName)
                        ? ComputerSid(computerName, userName, userSid)
                        : std::wstring(kDomainSid);
      account.sid += L'-' + std::to_wstring(kFirstAccountNumber + read.size());
    }
    read.push_back(std::move(account));
  }
  return read;
}

std::optional<Domain> ReadDomain(const Json::Value& domain) {
  if (domain.isNull()) return std::nullopt;
  return Domain{WideText(domain["name"]), WideText(domain["netbiosName"]),
                RefusalOfDomain(domain.get("trust", "whole").asString()),
                ReadController(domain["controller"]), domain.get("answersAfter", 0).asUInt()};
}

}  // namespace Lab
