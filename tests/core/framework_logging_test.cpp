#include "core/framework_logging.h"

#include <boost/log/core.hpp>
#include <boost/log/sources/logger.hpp>
#include <boost/log/sources/record_ostream.hpp>
#include <boost/log/trivial.hpp>
#include <regex>

#include "core_test.h"
#include "support/console_capture.h"

namespace Halvard {
namespace {

using Testing::ConsoleCapture;

class FrameworkLogging : public CoreTest {
 protected:
  ~FrameworkLogging() override {
    boost::log::core::get()->remove_all_sinks();
    boost::log::core::get()->reset_filter();
  }

  /// What the records look like on the console, with a fixed time.
  static std::wstring Printed() {
    const ConsoleCapture console;
    BOOST_LOG_TRIVIAL(info) << "IO error: Z\xC3\xBCrich";
    BOOST_LOG_TRIVIAL(warning) << "two\nlines";
    BOOST_LOG_TRIVIAL(error) << "";
    BOOST_LOG_TRIVIAL(fatal) << "%s";
    static const std::wregex time(LR"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}\])");
    return std::regex_replace(console.Text(), time, L"[time]");
  }
};

TEST_F(FrameworkLogging, LinesAreThoseOfTheDefaultSinkToTheLetter) {
  const std::wstring expected = Printed();
  SetUpFrameworkLogging();
  EXPECT_EQ(Printed(), expected);
  EXPECT_TRUE(std::regex_search(
      expected, std::wregex(LR"(^\[time\] \[0x[0-9a-f]+\] \[info\]    IO error: Z\u00fcrich\n)")));
}

TEST_F(FrameworkLogging, RecordsBelowInfoAreDropped) {
  SetUpFrameworkLogging();
  const ConsoleCapture console;
  BOOST_LOG_TRIVIAL(trace) << "trace";
  BOOST_LOG_TRIVIAL(debug) << "debug";
  EXPECT_EQ(console.Text(), L"");
}

TEST_F(FrameworkLogging, RecordsWithoutALevelAreDropped) {
  SetUpFrameworkLogging();
  const ConsoleCapture console;
  boost::log::sources::logger logger;
  BOOST_LOG(logger) << "no level";
  EXPECT_EQ(console.Text(), L"");
}

}  // namespace
}  // namespace Halvard
