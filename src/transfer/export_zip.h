// The export as one zip file, proved to be whole.
#pragma once

#include <json/json.h>

#include <string>

namespace Halvard::Transfer {

/// Makes a zip file of the export and validates it. Where that fails, and request or environment
/// have asked for it, a person at the console may make the file instead, as often as it takes; the
/// call waits for that without a limit of time.
/// \param zipFile         Replaced if it exists.
/// \param exportFolder    Goes into the zip file as its one folder at the top.
/// \param request         The client's request.
/// \param[out] errorText  After a failure the text for the client: a message in the client's
///                        language, or the validation's own words. May be empty.
/// \return True when the validated file exists.
bool ZipUtil_CreateExportZip(const std::wstring& zipFile, const std::wstring& exportFolder,
                             const Json::Value& request, std::wstring& errorText);

/// \return True when a person may step in: HV_INTERACTIVE_MODE exists in the environment, even
///         without a value, or the request says so with a boolean.
bool IsInteractiveZipMode(const Json::Value& request);

}  // namespace Halvard::Transfer
