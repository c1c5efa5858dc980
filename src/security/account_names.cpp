#include "security/account_names.h"

#include <new>

#include "core/logging.h"

namespace Halvard::Security {
namespace {

/// \return False, after logging why, when the sizes can't be had.
bool AskSizes(const std::wstring& accountName, DWORD& sidSize, DWORD& domainLength, LogScope& log) {
  SID_NAME_USE use = SidTypeUnknown;
  if (LookupAccountNameW(nullptr, accountName.c_str(), nullptr, &sidSize, nullptr, &domainLength,
                         &use)) {
    log.Error(
        L"GetAccountSid: LookupAccountName returned success on zero length buffer for user=[%s]",
        accountName.c_str());
    return false;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_INSUFFICIENT_BUFFER) return true;
  log.Error(L"GetAccountSid: LookupAccountName size lookup failed for user=[%s]. Error code: %d.",
            accountName.c_str(), error);
  return false;
}

bool AskSizes(PSID sid, DWORD& nameLength, DWORD& domainLength, LogScope& log) {
  SID_NAME_USE use = SidTypeUnknown;
  if (LookupAccountSidW(nullptr, sid, nullptr, &nameLength, nullptr, &domainLength, &use)) {
    log.Error(L"LookupAccountNameBySid: LookupAccountSid returned success on zero length buffer.");
    return false;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_INSUFFICIENT_BUFFER) return true;
  log.Error(L"LookupAccountNameBySid: LookupAccountSid size lookup failed: %d", error);
  return false;
}

/// \param length  As the lookup told it. One cell is spare: some systems write past the length.
std::unique_ptr<wchar_t[]> AllocateText(DWORD length) {
  return std::unique_ptr<wchar_t[]>(new (std::nothrow) wchar_t[std::size_t{length} + 1]());
}

}  // namespace

bool GetAccountSid(const std::wstring& accountName, OwnedSid& sid) {
  LogScope log;
  DWORD sidSize = 0;
  DWORD domainLength = 0;
  if (!AskSizes(accountName, sidSize, domainLength, log)) return false;
  OwnedSid found(new (std::nothrow) std::byte[sidSize]);
  if (found == nullptr) {
    log.Error(L"GetAccountSid: Unable to allocate sid size: %u", sidSize);
    return false;
  }
  const std::unique_ptr<wchar_t[]> domain = AllocateText(domainLength);
  if (domain == nullptr) {
    log.Error(
        L"GetAccountSid: Failed to allocate memory to retrieve user domain. Domain length: %d",
        domainLength);
    return false;
  }
  SID_NAME_USE use = SidTypeUnknown;
  if (!LookupAccountNameW(nullptr, accountName.c_str(), found.get(), &sidSize, domain.get(),
                          &domainLength, &use)) {
    const DWORD error = GetLastError();
    log.Error(L"GetAccountSid: LookupAccountName failed for user=[%s].Error code: %d",
              accountName.c_str(), error);
    return false;
  }
  sid = std::move(found);
  return true;
}

bool LookupAccountNameBySid(PSID sid, std::wstring& accountName, std::wstring& domainName) {
  LogScope log;
  DWORD nameLength = 0;
  DWORD domainLength = 0;
  if (!AskSizes(sid, nameLength, domainLength, log)) return false;
  const std::unique_ptr<wchar_t[]> name = AllocateText(nameLength);
  if (name == nullptr) {
    log.Error(L"LookupAccountNameBySid: Failed to allocate memory to retrieve account name.");
    return false;
  }
  const std::unique_ptr<wchar_t[]> domain = AllocateText(domainLength);
  if (domain == nullptr) {
    log.Error(L"LookupAccountNameBySid: Failed to allocate memory to retrieve domain name.");
    return false;
  }
  SID_NAME_USE use = SidTypeUnknown;
  if (!LookupAccountSidW(nullptr, sid, name.get(), &nameLength, domain.get(), &domainLength,
                         &use)) {
    const DWORD error = GetLastError();
    log.Error(
        L"LookupAccountNameBySid: LookupAccountSid failed to retrieve account info. Error code: %d",
        error);
    return false;
  }
  accountName = name.get();
  domainName = domain.get();
  return true;
}

}  // namespace Halvard::Security
