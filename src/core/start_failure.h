// What a failed step of start-up leaves behind: a message on the console in the operator's
// language, and in English in the log and in HV_INIT_ERROR, from where it reaches the status file.
#pragma once

#include <string>
#include <vector>

#include "core/wide_format.h"

namespace Halvard {

/// Shows the message and stores it, for a step whose log has lines of its own.
/// \return The English text.
std::wstring ShowAndStoreError(unsigned int id, const std::vector<std::wstring>& arguments = {});

/// Logs the message as an error and stores it, for a step that shows more than the message.
/// \param logFormat  The log line, with %s for the text.
void LogAndStoreError(const WideFormat<const wchar_t*>& logFormat, unsigned int id,
                      const std::vector<std::wstring>& arguments = {});

/// Shows the message, logs it as an error and stores it.
/// \param logFormat  The log line, with %s for the text.
void ReportFatal(const WideFormat<const wchar_t*>& logFormat, unsigned int id,
                 const std::vector<std::wstring>& arguments = {});

}  // namespace Halvard
