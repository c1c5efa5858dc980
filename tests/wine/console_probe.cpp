// Prints as the agent does, lines of its own and records of the framework's log in turn, in a
// program that does nothing else.
#include <boost/log/trivial.hpp>

#include "core/console.h"
#include "core/framework_logging.h"
#include "host/windows_api.h"

int wmain() {
  constexpr int kUtf8Text = 0x40000;
  if (_setmode(_fileno(stdout), kUtf8Text) == -1) return 1;
  Halvard::SetUpFrameworkLogging();
  Halvard::PrintLine(L"before \u00E4 \u6771\u4EAC \U0001F600");
  BOOST_LOG_TRIVIAL(debug) << "dropped";
  BOOST_LOG_TRIVIAL(warning) << "record \u00E4 \u6771\u4EAC";
  Halvard::PrintLine(L"after");
  return 0;
}
