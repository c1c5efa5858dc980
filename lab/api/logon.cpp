// Logging on with an account's password.
#include <algorithm>
#include <memory>
#include <utility>

#include "api/failure.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "process/token.h"
#include "windows.h"

namespace {

using Lab::Fail;

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

DWORD CheckKindOfLogon(const Lab::Account& account, bool asService) {
  // The lack of the network's right alone says nothing of services.
  const bool isOfNetwork = account.refusal == ERROR_LOGON_TYPE_NOT_GRANTED;
  if (!asService || (account.refusal != ERROR_SUCCESS && !isOfNetwork)) return account.refusal;
  return account.mayLogOnAsService ? ERROR_SUCCESS : ERROR_LOGON_TYPE_NOT_GRANTED;
}

/// \param[out] granted  The account on success.
/// \return ERROR_SUCCESS when the logon is granted.
DWORD CheckLogon(std::wstring_view user, std::wstring_view domain, std::wstring_view password,
                 bool asService, const Lab::Account*& granted) {
  const Lab::Description& machine = Lab::TheMachine().Describe();
  if (!IsThisComputer(domain, machine)) {
    // A name that the computer's domain doesn't know is refused like an account that isn't there.
    if (!machine.domain || !machine.domain->IsNamed(domain)) return ERROR_LOGON_FAILURE;
    if (const DWORD refusal = Lab::TheMachine().DomainRefusal()) return refusal;
  }
  const Lab::Account* const account = FindAccount(machine, domain, user);
  if (account == nullptr) return ERROR_LOGON_FAILURE;
  // Nobody learns of a locked account whether the password was right.
  if (account->refusal == ERROR_ACCOUNT_LOCKED_OUT) return account->refusal;
  if (account->password != password) return ERROR_LOGON_FAILURE;
  // By default an empty password is good at the console alone.
  if (password.empty()) return ERROR_ACCOUNT_RESTRICTION;
  granted = account;
  return CheckKindOfLogon(*account, asService);
}

}  // namespace

BOOL WINAPI LogonUserW(LPCWSTR user, LPCWSTR domain, LPCWSTR password, DWORD logonType,
                       DWORD provider, PHANDLE token) {
  const Lab::Call call("LogonUserW", user == nullptr ? L"" : user);
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(user != nullptr && domain != nullptr && password != nullptr && token != nullptr);
  LAB_SUPPORTS(logonType == LOGON32_LOGON_NETWORK || logonType == LOGON32_LOGON_SERVICE);
  LAB_SUPPORTS(provider == LOGON32_PROVIDER_DEFAULT);
  const bool asService = logonType == LOGON32_LOGON_SERVICE;
  const Lab::Account* account = nullptr;
  const DWORD error = CheckLogon(user, domain, password, asService, account);
  if (error != ERROR_SUCCESS) return Fail(error);
  // A service's logon is to start its process, one from the network to act for the account.
  *token = Lab::Handles().Add(std::make_shared<Lab::LogonToken>(*account, asService));
  return TRUE;
}

BOOL WINAPI DuplicateTokenEx(HANDLE token, DWORD access, LPSECURITY_ATTRIBUTES attributes,
                             SECURITY_IMPERSONATION_LEVEL level, TOKEN_TYPE type, PHANDLE copy) {
  const Lab::Call call("DuplicateTokenEx");
  if (call.FailsByPlan()) return FALSE;
  LAB_SUPPORTS(access == TOKEN_QUERY && attributes == nullptr && copy != nullptr);
  LAB_SUPPORTS(level == SecurityIdentification && type == TokenImpersonation);
  const auto original = Lab::Handles().FindAs<Lab::Token>(token);
  if (original == nullptr) return Fail(ERROR_INVALID_HANDLE);
  auto made = original->ToImpersonate();
  if (made == nullptr) return Fail(ERROR_ACCESS_DENIED);
  *copy = Lab::Handles().Add(std::move(made));
  return TRUE;
}
