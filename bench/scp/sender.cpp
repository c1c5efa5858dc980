// Sends one file by the agent's secure copy, on the machine that HALVARD_LAB names:
// sender SERVER REMOTE-PATH USER PASSWORD LOCAL-PATH. Prints the most memory, in KiB, that the
// process had before the copy; exits with 1 when the copy fails.
#include <boost/asio/error.hpp>
#include <cstdio>
#include <fstream>
#include <string>

#include "core/logging.h"
#include "core/text.h"
#include "machine/machine.h"
#include "transfer/secure_copy.h"

namespace {

// Has Boost.Asio in the program, which starts the sockets before main.
[[maybe_unused]] const auto& kSockets = boost::asio::error::get_misc_category();

long PeakMemory() {
  std::ifstream in("/proc/self/status");
  for (std::string line; std::getline(in, line);) {
    if (line.rfind("VmHWM:", 0) == 0) return std::stol(line.substr(6));
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  const std::wstring localFile = Halvard::Utf8ToWide(argv[5]);
  const Halvard::LogScope log;
  (void)Lab::TheMachine();
  std::printf("%ld\n", PeakMemory());
  return Halvard::Transfer::ScpFile(argv[1], argv[2], argv[3], argv[4], "", localFile) ? 0 : 1;
}
