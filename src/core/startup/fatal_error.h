// What a failed step of start-up leaves behind.
#pragma once

#include <string>
#include <vector>

#include "core/wide_format.h"

namespace Halvard {

/// Ends a step of start-up with a message: on the console in the operator's language, in English in
/// HV_INIT_ERROR, from where it reaches the status file.
/// \return The English text.
std::wstring ShowAndStoreError(unsigned int id, const std::vector<std::wstring>& arguments = {});

/// The same, with the English text as an error line in the log.
/// \param logFormat  The log line, with %s for the text.
void ReportFatal(const WideFormat<const wchar_t*>& logFormat, unsigned int id,
                 const std::vector<std::wstring>& arguments = {});

}  // namespace Halvard
