// How hvctl ends. Shown by `hvctl --help`; scripts rely on the numbers.
#pragma once

namespace Hvctl {

enum class ExitCode {
  kSuccess = 0,       ///< The agent answered, and its reply doesn't say "fail".
  kRefused = 1,       ///< The reply says that it failed; its error is on standard error.
  kUsage = 2,         ///< The command line is wrong, or the input isn't readable.
  kNoConnection = 3,  ///< No connection, a cut one, or a time-out.
  kNotTrusted = 4,    ///< The certificate isn't the expected one, or nobody confirmed it.
  kApiError = 5,      ///< The agent answered with an API error, or with what isn't an answer.
  // Of a migration:
  kPrechecksFailed = 6,  ///< The prechecks found errors.
  kExportFailed = 7,     ///< The export ended with an error, or says nothing.
  kCopyFailed = 8,       ///< The export or the logs didn't arrive.
  kUnanswered = 9,       ///< The export waits for an answer that nobody has given.
};

}  // namespace Hvctl
