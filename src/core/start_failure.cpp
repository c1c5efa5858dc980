#include "core/start_failure.h"

#include "core/console.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_store.h"

namespace Halvard {

std::wstring ShowAndStoreError(unsigned int id, const std::vector<std::wstring>& arguments) {
  PrintLine(GetLocalizedString(id, arguments));
  const std::wstring english = GetLocalizedStringIn(id, arguments, "en");
  gProperties[L"HV_INIT_ERROR"] = english;
  return english;
}

void LogAndStoreError(const WideFormat<const wchar_t*>& logFormat, unsigned int id,
                      const std::vector<std::wstring>& arguments) {
  LogScope log;
  const std::wstring english = GetLocalizedStringIn(id, arguments, "en");
  log.Error(logFormat, english.c_str());
  gProperties[L"HV_INIT_ERROR"] = english;
}

void ReportFatal(const WideFormat<const wchar_t*>& logFormat, unsigned int id,
                 const std::vector<std::wstring>& arguments) {
  PrintLine(GetLocalizedString(id, arguments));
  LogAndStoreError(logFormat, id, arguments);
}

}  // namespace Halvard
