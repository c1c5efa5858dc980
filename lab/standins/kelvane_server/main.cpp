// kelvane-server: a Kelvane Server of the lab.
#include <boost/asio/io_context.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/signal_set.hpp>

#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <string>

#include "config.h"
#include "journal.h"
#include "server.h"
#include "standins/host_server/program.h"

namespace {

namespace asio = boost::asio;
using namespace Lab::Kelvane;

struct Options {
  std::string configFile;
  std::string record;
  std::string certificate;
  int port = -1;
  bool untilInputEnds = false;
};

constexpr const char* kFooter =
    R"(On its start it prints one line of JSON: address, port, thumbprint and certificate, the numbers of
hosts and machines, pid. It ends on SIGTERM and SIGINT. Exit codes: 0 after such an end, 1 when it can't
start, 2 for a wrong command line.)";

void AddOptions(Lab::Program& program, Options& options) {
  program.Option("--config", options.configFile,
                 "Description of the server, as config.schema.json has it; - is standard input");
  program.Option("--record", options.record, "File for the journal, one JSON object in a line");
  program.Option("--certificate", options.certificate,
                 "PEM file with private key and certificate, in place of the description's");
  program.Option("--port", options.port, 65535, "Port, in place of the description's; 0: any");
  program.Flag("--until-input-ends", options.untilInputEnds,
               "End when standard input ends as well, so that nobody leaves it behind");
}

Config ConfigFor(const Options& options) {
  Config config = options.configFile.empty() ? Config{} : ReadConfig(options.configFile);
  if (!options.certificate.empty()) config.certificateFile = options.certificate;
  if (options.port >= 0) config.port = static_cast<std::uint16_t>(options.port);
  return config;
}

/// Stops the io_context when standard input ends; what comes through it is ignored.
class InputWatch {
 public:
  explicit InputWatch(asio::io_context& io) : io_(io), input_(io, dup(STDIN_FILENO)) {}

  void Start() {
    input_.async_read_some(asio::buffer(ignored_),
                           [this](const boost::system::error_code& error, std::size_t) {
                             if (error) {
                               io_.stop();
                             } else {
                               Start();
                             }
                           });
  }

 private:
  asio::io_context& io_;
  asio::posix::stream_descriptor input_;
  std::array<char, 256> ignored_{};
};

void Run(const Options& options) {
  const Config config = ConfigFor(options);
  Journal journal(options.record);
  asio::io_context io(1);
  asio::signal_set signals(io, SIGTERM, SIGINT);
  signals.async_wait([&io](const boost::system::error_code&, int) { io.stop(); });
  Server server(io, config, journal);
  server.Start();
  std::optional<InputWatch> watch;
  if (options.untilInputEnds) watch.emplace(io).Start();
  std::printf("%s\n", JsonLine(server.Announcement()).c_str());
  std::fflush(stdout);
  io.run();
  server.RecordStop();
}

}  // namespace

int main(int argc, char** argv) {
  Lab::Program program("kelvane-server", "A Kelvane Server of the lab, with its lookup service.",
                       kFooter);
  Options options;
  AddOptions(program, options);
  return program.Run(argc, argv, [&options] { Run(options); });
}
