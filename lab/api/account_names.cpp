// Names of accounts and their security identifiers, one from the other.
#include <algorithm>
#include <cstring>
#include <cwchar>
#include <optional>
#include <vector>

#include "api/failure.h"
#include "files/security_ids.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "windows.h"

namespace {

using Lab::Fail;

struct Named {
  std::wstring domain;
  std::wstring name;
  std::wstring sid;
  SID_NAME_USE use;
  std::wstring otherName{};  ///< By which it is found as well.
};

/// What every machine has beside the accounts of its description. "LocalSystem" isn't here: it is
/// a word of the service manager alone.
const std::vector<Named>& WellKnown() {
  static const std::vector<Named>& known = *new std::vector<Named>{
      {L"", L"Everyone", L"S-1-1-0", SidTypeWellKnownGroup},
      {L"NT AUTHORITY", L"SYSTEM", L"S-1-5-18", SidTypeWellKnownGroup},
      {L"NT AUTHORITY", L"LOCAL SERVICE", L"S-1-5-19", SidTypeWellKnownGroup, L"LocalService"},
      {L"NT AUTHORITY", L"NETWORK SERVICE", L"S-1-5-20", SidTypeWellKnownGroup, L"NetworkService"},
      {L"BUILTIN", L"Administrators", L"S-1-5-32-544", SidTypeAlias},
      {L"BUILTIN", L"Users", L"S-1-5-32-545", SidTypeAlias},
      // Of an empty name this is what the system finds.
      {L"BUILTIN", L"", L"S-1-5-32", SidTypeDomain}};
  return known;
}

bool IsLocal(const std::wstring& domain) {
  return Lab::EqualNoCase(domain, Lab::TheMachine().Describe().computerName);
}

/// The computer itself and the accounts that it keeps.
void AddLocal(std::vector<Named>& all) {
  const Lab::Description& machine = Lab::TheMachine().Describe();
  all.push_back(
      {machine.computerName, L"", machine.computerSid, SidTypeDomain, machine.computerName});
  for (const Lab::Account& account : machine.accounts) {
    if (IsLocal(account.domain)) {
      all.push_back({machine.computerName, account.name, account.sid, SidTypeUser});
    }
  }
}

/// The user is there without a description as an account: nobody knows his password.
void AddUser(std::vector<Named>& all) {
  const Lab::Description& machine = Lab::TheMachine().Describe();
  const std::size_t backslash = machine.userName.find(L'\\');
  all.push_back({machine.userName.substr(0, backslash), machine.userName.substr(backslash + 1),
                 machine.userSid, SidTypeUser});
}

void AddDomain(std::vector<Named>& all) {
  const Lab::Description& machine = Lab::TheMachine().Describe();
  // Of a domain that can't be reached nobody is known.
  if (Lab::TheMachine().DomainRefusal() != ERROR_SUCCESS) return;
  all.push_back({machine.domain->netbiosName, L"", std::wstring(Lab::kDomainSid), SidTypeDomain,
                 machine.domain->netbiosName});
  for (const Lab::Account& account : machine.accounts) {
    if (machine.domain->IsNamed(account.domain)) {
      all.push_back({machine.domain->netbiosName, account.name, account.sid, SidTypeUser});
    }
  }
}

/// \return All that can be named at the moment, in the order in which a name alone is looked up.
std::vector<Named> Everybody() {
  std::vector<Named> all = WellKnown();
  AddLocal(all);
  AddUser(all);
  AddDomain(all);
  return all;
}

bool IsDomainOf(const Named& named, const std::wstring& domain) {
  if (Lab::EqualNoCase(named.domain, domain)) return true;
  const auto& joined = Lab::TheMachine().Describe().domain;
  return joined && joined->IsNamed(domain) && joined->IsNamed(named.domain);
}

std::optional<Named> FindByName(const std::wstring& text) {
  const std::size_t backslash = text.find(L'\\');
  const std::size_t at = text.rfind(L'@');
  std::wstring domain;
  std::wstring name = text;
  if (backslash != std::wstring::npos) {
    domain = text.substr(0, backslash);
    name = text.substr(backslash + 1);
  } else if (at != std::wstring::npos) {
    domain = text.substr(at + 1);
    name = text.substr(0, at);
  }
  for (const Named& named : Everybody()) {
    const bool isNamed = Lab::EqualNoCase(named.name, name) ||
                         (!named.otherName.empty() && Lab::EqualNoCase(named.otherName, name));
    if (isNamed && (domain.empty() || IsDomainOf(named, domain))) return named;
  }
  return std::nullopt;
}

std::optional<Named> FindBySid(const std::wstring& sid) {
  const std::vector<Named> all = Everybody();
  const auto found = std::ranges::find(all, sid, &Named::sid);
  if (found == all.end()) return std::nullopt;
  return *found;
}

bool Fits(const std::wstring& text, LPDWORD length) { return *length > text.size(); }

void CopyText(const std::wstring& text, LPWSTR buffer, LPDWORD length) {
  std::wmemcpy(buffer, text.c_str(), text.size() + 1);
  *length = static_cast<DWORD>(text.size());
}

DWORD LengthWithEnd(const std::wstring& text) { return static_cast<DWORD>(text.size() + 1); }

}  // namespace

BOOL WINAPI LookupAccountNameW(LPCWSTR system, LPCWSTR account, PSID sid, LPDWORD sidBytes,
                               LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
  const Lab::Call call("LookupAccountNameW", account == nullptr ? L"" : account);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(system == nullptr && account != nullptr);
  LAB_SUPPORTS(sidBytes != nullptr && domainLength != nullptr && use != nullptr);
  const std::optional<Named> found = FindByName(account);
  if (!found) {
    *sidBytes = *domainLength = 0;
    return Fail(ERROR_NONE_MAPPED);
  }
  const std::vector<std::uint8_t> bytes = Lab::SidFromText(found->sid);
  const bool fits = *sidBytes >= bytes.size() && Fits(found->domain, domainLength);
  *sidBytes = static_cast<DWORD>(bytes.size());
  if (!fits) {
    *domainLength = LengthWithEnd(found->domain);
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  std::memcpy(sid, bytes.data(), bytes.size());
  CopyText(found->domain, domain, domainLength);
  *use = found->use;
  return TRUE;
}

BOOL WINAPI LookupAccountSidW(LPCWSTR system, PSID sid, LPWSTR name, LPDWORD nameLength,
                              LPWSTR domain, LPDWORD domainLength, PSID_NAME_USE use) {
  const Lab::Call call("LookupAccountSidW");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(system == nullptr && sid != nullptr);
  LAB_SUPPORTS(nameLength != nullptr && domainLength != nullptr && use != nullptr);
  const std::optional<Named> found = FindBySid(Lab::SidText(sid));
  if (!found) {
    *nameLength = *domainLength = 0;
    return Fail(ERROR_NONE_MAPPED);
  }
  if (!Fits(found->name, nameLength) || !Fits(found->domain, domainLength)) {
    *nameLength = LengthWithEnd(found->name);
    *domainLength = LengthWithEnd(found->domain);
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  CopyText(found->name, name, nameLength);
  CopyText(found->domain, domain, domainLength);
  *use = found->use;
  return TRUE;
}
