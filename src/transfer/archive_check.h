// Proving that a zip file holds what a folder holds, with the Python tool that lies beside the
// program.
#pragma once

#include <json/json.h>

#include <string>

namespace Halvard::Transfer {

/// Tests an archive and then compares it with a folder.
/// \param zipFile         Path of the archive.
/// \param folder          The folder that the archive should hold, under the folder's own name.
/// \param[out] errorText  The tool's word on the first failure, in English; untouched when the tool
///                        has none.
/// \return True when both have passed. All steps and failures are logged here.
bool HvUtil_ValidateZipArchive(const std::wstring& zipFile, const std::wstring& folder,
                               std::wstring& errorText);

/// Reads every file of the archive and checks its CRC.
bool HvUtil_TestArchive(const std::wstring& zipFile, std::wstring& errorText);

/// Wants the files of the folder in the archive, with the same content, and no others.
bool HvUtil_CompareZipAndDir(const std::wstring& zipFile, const std::wstring& folder,
                             std::wstring& errorText);

/// Runs the tool to its end. Blocks for as long as that takes. Two runs at a time would share the
/// name of the result file.
/// \param arguments    What the tool is to do, as text of a command line.
/// \param[out] result  The tool's result document.
/// \return True when there is one, whatever the tool's exit code.
bool HvUtilLaunch(const std::wstring& arguments, Json::Value& result);

/// \param[out] errorText  The document's message, when it isn't one of success and has one.
/// \return True when the document's status is "success".
bool HvUtilCheckResult(const Json::Value& result, std::wstring& errorText);

}  // namespace Halvard::Transfer
