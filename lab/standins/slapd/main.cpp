// lab-slapd: a directory of Single Sign-On for programs that aren't C++.
#include <optional>
#include <stdexcept>
#include <string>

#include "standins/host_server/announcement.h"
#include "standins/host_server/program.h"
#include "standins/host_server/program_end.h"
#include "standins/slapd/slapd.h"

namespace {

struct Options {
  std::string domain = "ostrel.local";
  Lab::Slapd::User user{"Administrator", "secret"};
  std::optional<std::string> version;
  bool untilInputEnds = false;
};

constexpr const char* kFooter =
    R"(On its start it prints one line of JSON: address and port where it speaks LDAP over TLS, user (as it
logs in, with the domain), pid. It ends on SIGTERM and SIGINT. Exit codes: 0 after such an end, 1 when it
can't start, 2 for a wrong command line.)";

void AddOptions(Lab::Program& program, Options& options) {
  program.Option("--domain", options.domain, "Domain of the directory; ostrel.local");
  program.Option("--user", options.user.name, "Its one user; Administrator");
  program.Option("--password", options.user.password, "\"secret\"");
  program.Option("--belvar-version", options.version,
                 "Version that it tells of its Belvar Controller, as 6.0.1; without it an older "
                 "directory, which tells none");
  program.Flag("--until-input-ends", options.untilInputEnds,
               "End when standard input ends as well, so that nobody leaves it behind");
}

void Run(const Options& options) {
  if (!Lab::Slapd::Installed()) throw std::runtime_error("Debian's package slapd isn't installed");
  const Lab::Slapd server(
      {.domain = options.domain, .users = {options.user}, .version = options.version});
  const Lab::ProgramEnd end;
  Json::Value user;
  user["user"] = options.user.name + "@" + options.domain;
  Lab::Announce(server.Address(), user);
  end.Wait(options.untilInputEnds);
}

}  // namespace

int main(int argc, char** argv) {
  Lab::Program program(
      "lab-slapd", "A directory of Single Sign-On of the lab: the real slapd on a port of its own.",
      kFooter);
  Options options;
  AddOptions(program, options);
  return program.Run(argc, argv, [&options] { Run(options); });
}
