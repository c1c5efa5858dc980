// The document in which the upgrade runner tells how far its export is, what it asks, and how it
// ended.
#pragma once

#include <json/value.h>

#include <mutex>
#include <string>

namespace Halvard::Runner {

/// Holds off the agent's other threads from the file. They open it without sharing, and one that
/// met another's open would take it for the runner's.
[[nodiscard]] std::unique_lock<std::mutex> LockExportOutput();

/// Reads the document as it stands.
/// \param path      Of the file.
/// \param document  What the reader made up to the first error, when the runner has written a part
///                  of it. Any JSON type; untouched when there is nothing to read.
/// \return False when there is no whole document: no file, one that the runner has open, or one
///         that it hasn't finished. The thread's last error holds the code.
bool LoadExportOutput(const std::wstring& path, Json::Value& document);

}  // namespace Halvard::Runner
