// lab-sshd: an appliance of the lab for programs that aren't C++.
#include <memory>
#include <stdexcept>
#include <string>

#include "standins/host_server/announcement.h"
#include "standins/host_server/program.h"
#include "standins/host_server/program_end.h"
#include "standins/sshd/sshd.h"
#include "standins/sshd/tcp_relay.h"

namespace {

struct Options {
  Lab::Sshd::Settings settings;
  Lab::TcpRelay::Limits limits;
  bool untilInputEnds = false;
};

constexpr const char* kFooter =
    R"(On its start it prints one line of JSON: address and port to connect to, user, thumbprints by kind of
key, folder (a memory file system, as clients name it), root (where this host sees the server's files:
put a path behind it), pid. It ends on SIGTERM and SIGINT. Exit codes: 0 after such an end, 1 when it
can't start, 2 for a wrong command line.)";

void AddOptions(Lab::Program& program, Options& options) {
  program.Option("--user", options.settings.user, "Who may log in; root");
  program.Option("--password", options.settings.password, "\"secret\"");
  program.Option("--host-key", options.settings.hostKeys, "rsa, ecdsa, ed25519; several; rsa",
                 {"rsa", "ecdsa", "ed25519"});
  program.Option("--disk-size", options.settings.diskSize, "Room in the folder, as 64k or 2g");
  program.Option("--option", options.settings.options, "Further line of sshd_config; several");
  program.Option("--close-after", options.limits.closeAfter,
                 "Close a connection after so many bytes of the client");
  program.Option("--silent-after", options.limits.silentAfter,
                 "Fall silent after so many bytes of the client");
  program.Option("--rate", options.limits.bytesPerSecond,
                 "Take so many bytes of the client in a second");
  program.Flag("--until-input-ends", options.untilInputEnds,
               "End when standard input ends as well, so that nobody leaves it behind");
}

bool HasLimits(const Lab::TcpRelay::Limits& limits) {
  return limits.closeAfter || limits.silentAfter || limits.bytesPerSecond;
}

Json::Value FactsOf(const Lab::Sshd& server, const Options& options) {
  Json::Value facts;
  facts["user"] = options.settings.user;
  for (const std::string& type : options.settings.hostKeys) {
    facts["thumbprints"][type] = server.Thumbprint(type);
  }
  facts["folder"] = server.Folder();
  facts["root"] = server.HostPath("").string();
  return facts;
}

void Run(const Options& options) {
  if (const std::string reason = Lab::Sshd::WhyNot(); !reason.empty()) {
    throw std::runtime_error(reason);
  }
  // The server's first process must not inherit the blocked signals, so they are blocked after it.
  const Lab::Sshd server(options.settings);
  const Lab::ProgramEnd end;
  std::unique_ptr<Lab::TcpRelay> relay;
  if (HasLimits(options.limits)) {
    relay = std::make_unique<Lab::TcpRelay>(server.Address(), options.limits);
  }
  Lab::Announce(relay ? relay->Address() : server.Address(), FactsOf(server, options));
  end.Wait(options.untilInputEnds);
}

}  // namespace

int main(int argc, char** argv) {
  Lab::Program program(
      "lab-sshd",
      "An appliance of the lab: the real sshd, alone on this host with a user of its own.",
      kFooter);
  Options options;
  AddOptions(program, options);
  return program.Run(argc, argv, [&options] { Run(options); });
}
