#include "core/framework_logging.h"

#include <boost/date_time/posix_time/posix_time.hpp>
#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/core.hpp>
#include <boost/log/detail/thread_id.hpp>
#include <boost/log/expressions.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/log/trivial.hpp>
#include <boost/smart_ptr/make_shared.hpp>
#include <iomanip>
#include <sstream>
#include <string>
#include <string_view>

#include "core/console.h"
#include "core/text.h"

namespace Halvard {
namespace {

namespace Log = boost::log;

/// "[info]   " with the blanks that make all levels equally wide.
std::string LevelColumn(Log::trivial::severity_level level) {
  constexpr std::size_t kWidth = std::string_view("[warning]").size();
  std::string column = std::string("[") + Log::trivial::to_string(level) + "]";
  column.resize(kWidth, ' ');
  return column;
}

/// "2026-01-31 12:00:00.123456", local time.
std::string TimeColumn() {
  const boost::posix_time::ptime now = boost::posix_time::microsec_clock::local_time();
  std::ostringstream text;
  text << boost::gregorian::to_iso_extended_string(now.date()) << ' ' << std::setfill('0')
       << std::setw(2) << now.time_of_day().hours() << ':' << std::setw(2)
       << now.time_of_day().minutes() << ':' << std::setw(2) << now.time_of_day().seconds() << '.'
       << std::setw(6) << now.time_of_day().total_microseconds() % 1'000'000;
  return text.str();
}

/// Prints what Boost.Log's default sink prints, to the letter. It stands in for that one because
/// the default writes narrow text, which a standard output in wide mode garbles or refuses.
class WideConsoleSink : public Log::sinks::basic_sink_backend<Log::sinks::synchronized_feeding> {
 public:
  void consume(const Log::record_view& record) {
    const auto level = Log::extract_or_default<Log::trivial::severity_level>("Severity", record,
                                                                             Log::trivial::info);
    const std::string message =
        Log::extract_or_default<std::string>("Message", record, std::string());
    std::ostringstream line;
    line << '[' << TimeColumn() << "] [" << Log::aux::this_thread::get_id() << "] "
         << LevelColumn(level) << ' ' << message;
    PrintLine(Utf8ToWide(line.str()));
  }
};

}  // namespace

void SetUpFrameworkLogging() {
  const auto core = Log::core::get();
  core->add_sink(boost::make_shared<Log::sinks::synchronous_sink<WideConsoleSink>>());
  core->set_filter(Log::trivial::severity >= Log::trivial::info);
}

}  // namespace Halvard
