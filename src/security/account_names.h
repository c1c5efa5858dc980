// Names of accounts, and their security identifiers.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "host/windows_api.h"

namespace Halvard::Security {

/// A security identifier in memory of the agent's own.
using OwnedSid = std::unique_ptr<std::byte[]>;

/// \param accountName  Alone, or with its domain in any of the system's forms but ".\name".
/// \param[out] sid     Untouched on failure.
/// \return True on success. Failures are logged.
bool GetAccountSid(const std::wstring& accountName, OwnedSid& sid);

/// \param[out] accountName  Empty for the identifier of a computer or a domain. Both are untouched
///                          on failure.
/// \param[out] domainName   The computer's name for an account of its own.
/// \return True on success. Failures are logged.
bool LookupAccountNameBySid(PSID sid, std::wstring& accountName, std::wstring& domainName);

}  // namespace Halvard::Security
