#include "krova/transport/http/trace.h"

#include <boost/log/trivial.hpp>

namespace Krova::Transport::Http {
namespace {

/// Streams what the writer writes.
struct Written {
  const RecordWriter& write;
};

std::ostream& operator<<(std::ostream& record, const Written& written) {
  written.write(record);
  return record;
}

}  // namespace

// The macro opens the record first, and evaluates what is streamed only if the filter lets it pass.

void LogTrace(const RecordWriter& write) { BOOST_LOG_TRIVIAL(trace) << Written{write}; }

void LogDebug(const RecordWriter& write) { BOOST_LOG_TRIVIAL(debug) << Written{write}; }

void LogTrace(const char* text) { BOOST_LOG_TRIVIAL(trace) << text; }

}  // namespace Krova::Transport::Http
