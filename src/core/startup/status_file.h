// The status file, by which whoever started the agent learns how its start-up has ended.
#pragma once

namespace Halvard {

/// The file's name, in the temp directory.
inline constexpr wchar_t kStatusFileName[] = L"hv-status.json";

/// Writes the file. HV_INIT_ERROR alone decides what it says: empty is a success, anything else a
/// failure, after which the logs are zipped onto the operator's desktop as well and the console
/// tells where they are.
///
/// Before InitializeProperties nothing is written. Failures are logged and stop nothing.
void CreateHVStatusFile();

}  // namespace Halvard
