// JSON documents in files.
#pragma once

#include <json/json.h>

#include <string>

#include "host/windows_api.h"

namespace Halvard {

/// Writes a document, styled, over whatever the file held.
/// \param securityAttributes  For a file that doesn't exist yet; may be null.
/// \return True on success. The thread's last error holds the code, 0 on success.
bool SaveJsonToFile(const std::wstring& path, const Json::Value& value,
                    LPSECURITY_ATTRIBUTES securityAttributes);

/// Reads a document from a file that nobody else may use meanwhile.
/// \param out        What the reader made up to the first error, when the file is no JSON.
/// \param openFlags  Flags and attributes for the opening, such as FILE_FLAG_DELETE_ON_CLOSE.
/// \return True on success. The thread's last error holds the code: 0 on success, 13
///         (ERROR_INVALID_DATA) when the file is no JSON, 1006 when it is empty.
bool LoadJsonFromFile(const std::wstring& path, Json::Value& out, DWORD openFlags);

}  // namespace Halvard
