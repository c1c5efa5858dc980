// What the client of the Kelvane Server takes: the count of 10,000 hosts and 100,000 machines, and
// a login with its logout beside curl that posts the same. The server is a process of its own on
// this machine; its time isn't counted.
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "serverclient/credentials.h"
#include "serverclient/inventory_size.h"
#include "serverclient/tunrak_core.h"
#include "support/argument_pointers.h"
#include "support/kelvane_server.h"
#include "support/lab_instance.h"
#include "table.h"

namespace {

using Halvard::ServerClient::GetInventorySize;
using Halvard::ServerClient::ValidateKvAdminCredentials;
using Seconds = std::chrono::duration<double>;

constexpr int kLogins = 100;
constexpr const char* kUser = "root";
constexpr const char* kPassword = "secret";

Seconds ToSeconds(const timeval& time) {
  return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

/// Time on the processor, in user and kernel, of this process or of its ended children.
Seconds CpuTime(int who) {
  rusage usage{};
  getrusage(who, &usage);
  return ToSeconds(usage.ru_utime) + ToSeconds(usage.ru_stime);
}

/// \return A line of /proc/self/status in KiB.
long StatusKib(const std::string& name) {
  std::ifstream stream("/proc/self/status");
  for (std::string line; std::getline(stream, line);) {
    if (line.rfind(name + ":", 0) == 0) return std::stol(line.substr(name.size() + 1));
  }
  return -1;
}

/// Lets the peak of the resident memory begin anew at what is resident now.
void ResetPeak() { std::ofstream("/proc/self/clear_refs") << "5"; }

/// Bytes of the first connection, both ways, TLS included. Waits until the server has seen its end.
std::uint64_t WireBytes(const Lab::KelvaneServer& server) {
  std::vector<Json::Value> ends;
  while (ends.empty()) ends = server.Events("connectionEnd");
  return ends[0]["bytesReceived"].asUInt64() + ends[0]["bytesSent"].asUInt64();
}

void Row(const std::string& what, const std::string& value) {
  std::printf("  %-44s %14s\n", what.c_str(), value.c_str());
  Bench::AddRow("kelvane client", what, value, "");
}

bool CountInventory() {
  Json::Value config;
  config["users"][0]["name"] = kUser;
  config["users"][0]["password"] = kPassword;
  config["inventory"]["hosts"] = 10'000;
  config["inventory"]["machines"] = 100'000;
  config["inventory"]["dataCenters"] = 5;
  config["inventory"]["folderDepth"] = 4;
  config["inventory"]["virtualApps"] = 300;
  Lab::KelvaneServer server(config);
  ResetPeak();
  const long before = StatusKib("VmRSS");
  const Seconds cpu = CpuTime(RUSAGE_SELF);
  const auto begin = std::chrono::steady_clock::now();
  std::int32_t hosts = 0;
  std::int32_t machines = 0;
  const bool counted = GetInventorySize("localhost", server.Port(), "", server.Thumbprint(), kUser,
                                        kPassword, hosts, machines);
  const Seconds wall = std::chrono::steady_clock::now() - begin;
  const Seconds used = CpuTime(RUSAGE_SELF) - cpu;
  const long peak = StatusKib("VmHWM") - before;
  const std::uint64_t bytes = WireBytes(server);
  server.Stop();
  std::printf("count of %d hosts and %d machines: %s, nothing refused: %s\n", hosts, machines,
              counted ? "done" : "FAILED", server.Refusals().empty() ? "yes" : "NO");
  Row("processor time of the client", Bench::Text("%.3f s", used.count()));
  Row("time from start to end", Bench::Text("%.3f s", wall.count()));
  Row("peak of memory above the start", Bench::Text("%ld KiB", peak));
  Row("on the wire, both ways, TLS included",
      Bench::Text("%.1f MB", static_cast<double>(bytes) / 1e6));
  return counted && server.Refusals().empty();
}

/// \return An envelope as the client writes it.
std::string Envelope(const std::string& operation, const std::string& type,
                     const std::string& arguments) {
  return R"(<?xml version="1.0" encoding="UTF-8"?><soapenv:Envelope )"
         R"(xmlns:soapenv="http://schemas.xmlsoap.org/soap/envelope/" )"
         R"(xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance"><soapenv:Body><)" +
         operation + R"( xmlns="urn:quen25"><self type=")" + type + "\">" + type + "</self>" +
         arguments + "</" + operation + "></soapenv:Body></soapenv:Envelope>";
}

/// Arguments for one curl that posts all three requests over one connection and keeps the cookie.
std::vector<std::string> CurlCommand(std::uint16_t port) {
  const std::string login = std::string("<userName>") + kUser + "</userName><password>" +
                            kPassword + "</password><locale>en</locale>";
  std::vector<std::string> command{"curl"};
  for (const std::string& body :
       {Envelope("RetrieveContent", "ServiceInstance", ""),
        Envelope("Login", "SessionManager", login), Envelope("Logout", "SessionManager", "")}) {
    if (command.size() > 1) command.push_back("--next");
    for (const char* option : {"-sSkf", "-b", "", "-o", "/dev/null", "-A", "tunrak/6.0", "-H",
                               "Content-Type: text/xml; charset=utf-8", "-H",
                               "SOAPAction: \"urn:quen25/5.5\"", "--data-binary"}) {
      command.emplace_back(option);
    }
    command.push_back(body);
    command.push_back("https://localhost:" + std::to_string(port) + "/sdk/quenService");
  }
  return command;
}

bool RunOnce(std::vector<std::string> command) {
  const std::vector<char*> arguments = Lab::ArgumentPointers(command);
  pid_t process = 0;
  if (posix_spawnp(&process, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) {
    return false;
  }
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Runs a login again and again. \return False as soon as one fails.
template <typename Login>
bool Repeat(const char* what, int who, const Login& login) {
  const Seconds cpu = CpuTime(who);
  const auto begin = std::chrono::steady_clock::now();
  for (int i = 0; i < kLogins; ++i) {
    if (!login()) {
      std::printf("  %s FAILED\n", what);
      return false;
    }
  }
  const Seconds wall = std::chrono::steady_clock::now() - begin;
  Row(std::string("content, login, logout: ") + what,
      Bench::Text("%.2f ms, %.2f ms on the processor", wall.count() * 1e3 / kLogins,
                  (CpuTime(who) - cpu).count() * 1e3 / kLogins));
  return true;
}

bool CompareLogins() {
  Json::Value config;
  config["users"][0]["name"] = kUser;
  config["users"][0]["password"] = kPassword;
  Lab::KelvaneServer server(config);
  std::printf("content, login and logout on a new connection, %d times\n", kLogins);
  const bool ours = Repeat("the client", RUSAGE_SELF, [&server] {
    return ValidateKvAdminCredentials("localhost", server.Port(), "", server.Thumbprint(), kUser,
                                      kPassword);
  });
  const std::vector<std::string> command = CurlCommand(server.Port());
  const bool theirs =
      Repeat("curl, a process each", RUSAGE_CHILDREN, [&command] { return RunOnce(command); });
  const bool start = Repeat("curl's start alone", RUSAGE_CHILDREN, [] {
    return RunOnce({"curl", "-so", "/dev/null", "file:///dev/null"});
  });
  server.Stop();
  return ours && theirs && start && server.Refusals().empty();
}

}  // namespace

int main() {
  const Lab::Instance machine;
  Halvard::ServerClient::InitTunrakCore();
  const bool counted = CountInventory();
  return CompareLogins() && counted ? 0 : 1;
}
