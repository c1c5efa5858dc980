// Logging on with an account's password.
#include <algorithm>
#include <memory>

#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "windows.h"

namespace {

/// Says of its owner no more than that there was a logon.
class Token : public Lab::Object {
 public:
  const char* TypeName() const override { return "Token"; }
};

/// \return True when the domain of a logon means the computer itself.
bool IsThisComputer(std::wstring_view domain, const Lab::Description& machine) {
  // Without a domain the accounts of the computer are tried first.
  return domain.empty() || domain == L"." || Lab::EqualNoCase(domain, machine.computerName);
}

const Lab::Account* FindAccount(const Lab::Description& machine, std::wstring_view domain,
                                std::wstring_view user) {
  const bool isLocal = IsThisComputer(domain, machine);
  const auto belongs = [&](const Lab::Account& account) {
    if (isLocal) return Lab::EqualNoCase(account.domain, machine.computerName);
    return machine.domain->IsNamed(account.domain);
  };
  const auto found = std::ranges::find_if(machine.accounts, [&](const Lab::Account& account) {
    return belongs(account) && Lab::EqualNoCase(account.name, user);
  });
  return found == machine.accounts.end() ? nullptr : &*found;
}

/// \return ERROR_SUCCESS when the logon is granted.
DWORD CheckLogon(std::wstring_view user, std::wstring_view domain, std::wstring_view password) {
  const Lab::Description& machine = Lab::TheMachine().Describe();
  if (!IsThisComputer(domain, machine)) {
    // A name that the computer's domain doesn't know is refused like an account that isn't there.
    if (!machine.domain || !machine.domain->IsNamed(domain)) return ERROR_LOGON_FAILURE;
    if (machine.domain->refusal != ERROR_SUCCESS) return machine.domain->refusal;
  }
  const Lab::Account* account = FindAccount(machine, domain, user);
  if (account == nullptr) return ERROR_LOGON_FAILURE;
  // Nobody learns of a locked account whether the password was right.
  if (account->refusal == ERROR_ACCOUNT_LOCKED_OUT) return account->refusal;
  if (account->password != password) return ERROR_LOGON_FAILURE;
  // By default an empty password is good at the console alone.
  if (password.empty()) return ERROR_ACCOUNT_RESTRICTION;
  return account->refusal;
}

}  // namespace

BOOL WINAPI LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonType,
                       DWORD provider, PHANDLE token) {
  const Lab::Call call("LogonUserW", user == nullptr ? L"" : user);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(user != nullptr && domain != nullptr && password != nullptr && token != nullptr);
  LAB_SUPPORTS(logonType == LOGON32_LOGON_NETWORK && provider == LOGON32_PROVIDER_DEFAULT);
  const DWORD error = CheckLogon(user, domain, password);
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return FALSE;
  }
  *token = Lab::Handles().Add(std::make_shared<Token>());
  return TRUE;
}
