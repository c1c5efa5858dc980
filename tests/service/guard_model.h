// What each operation comes to in each phase of a migration, for each type and each outcome of the
// credential check. It's told by tables that were written from the operations' description and
// share nothing with the code.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "service_test.h"

namespace Halvard::MigratorSvc {

/// The document that HV_CUSTOM_PRECHECKS_JSON has to name, with "prepared" as its `findings`.
inline constexpr wchar_t kPreparedPrechecks[] = L"C:\\prechecks.json";

/// What the client passes, and what an earlier call has left to compare it with.
struct CredentialCase {
  const char* title;
  std::wstring user;
  std::wstring password;
  std::wstring cachedUser;
  std::wstring cachedPassword;
};

/// Right and wrong ones, against all that may be cached.
extern const std::vector<CredentialCase> kCredentials;

/// One combination of all that a guard looks at.
struct Cell {
  std::wstring exportStatus;
  std::wstring exportResult;
  std::wstring checksStatus;
  std::wstring type;
  CredentialCase credentials;
};

/// What a call leaves behind. The operator speaks German and the client French, so that each text
/// tells its reader.
struct ExpectedCall {
  std::wstring console;
  std::vector<Testing::LogLine> log;
  std::map<std::string, std::wstring> reply;
  std::vector<std::string> checks;
  std::wstring cachedUser;
  std::wstring cachedPassword;
};

/// \param operation  Its place in kOperations. Whatever it would begin behind its guards fails:
///                   threads, the shutdown, a logon, zip files, the network and the domain.
ExpectedCall ExpectCall(std::size_t operation, const Cell& cell);

}  // namespace Halvard::MigratorSvc
