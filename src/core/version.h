// Version and build of the program, as the log, the help and the migration target show them.
#pragma once

namespace Halvard {

/// The program's version. Its first three characters are the version that the agent migrates to.
inline constexpr wchar_t kVersion[] = L"6.0.0";

/// The program's build number, wide for messages and narrow for the log's prefix.
inline constexpr wchar_t kBuild[] = L"14510545";
inline constexpr char kNarrowBuild[] = "14510545";

}  // namespace Halvard
