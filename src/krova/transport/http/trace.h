// The framework's records in the program's log, through the trivial logger of Boost.Log.
#pragma once

#include <functional>
#include <ostream>

namespace Krova::Transport::Http {

/// Writes the text of a record. Called only if the record passes the log's filter, so that nothing
/// is formatted in vain.
using RecordWriter = std::function<void(std::ostream& record)>;

void LogTrace(const RecordWriter& write);
void LogDebug(const RecordWriter& write);

/// The same for a text that needs no formatting.
void LogTrace(const char* text);

}  // namespace Krova::Transport::Http
