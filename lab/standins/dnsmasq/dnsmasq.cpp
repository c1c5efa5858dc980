#include "standins/dnsmasq/dnsmasq.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "standins/host_server/child_process.h"
#include "standins/host_server/loopback_port.h"

namespace Lab {
namespace {

constexpr char kServer[] = "/usr/sbin/dnsmasq";

void WriteHosts(const std::filesystem::path& file, const Dnsmasq::Settings& settings) {
  std::ofstream out(file, std::ios::binary);
  for (const auto& host : settings.hosts) out << host.address << ' ' << host.name << '\n';
}

}  // namespace

bool Dnsmasq::Installed() { return std::filesystem::exists(kServer); }

Dnsmasq::Dnsmasq(const Settings& settings) : folder_("dnsmasq") {
  WriteHosts(folder_ / "hosts", settings);
  constexpr int kTries = 5;  // Another program may take the port in between.
  for (int i = 0; i < kTries; ++i) {
    if (StartOnSomePort(settings)) return;
  }
  throw std::runtime_error(std::string(kServer) + ": " + folder_.Read("output"));
}

Dnsmasq::~Dnsmasq() { Stop(); }

std::string Dnsmasq::Address() const { return "127.0.0.1:" + std::to_string(port_); }

std::string Dnsmasq::Ipv6Address() const { return "[::1]:" + std::to_string(port_); }

void Dnsmasq::Stop() { EndChild(process_); }

bool Dnsmasq::StartOnSomePort(const Settings& settings) {
  // Who has the port for UDP makes the start fail.
  port_ = settings.port != 0 ? settings.port : FreeLoopbackPort();
  // Without a daemon it neither changes its user nor writes a file of its own.
  std::vector<std::string> command = {kServer,
                                      "--no-daemon",
                                      "--conf-file=/dev/null",
                                      "--no-resolv",
                                      "--no-hosts",
                                      "--listen-address=127.0.0.1",
                                      "--bind-interfaces",
                                      "--local=/example/",
                                      "--port=" + std::to_string(port_),
                                      "--addn-hosts=" + (folder_ / "hosts").string()};
  if (settings.ipv6) command.push_back("--listen-address=::1");
  for (const auto& alias : settings.aliases) {
    command.push_back("--cname=" + alias.name + "," + alias.target);
  }
  process_ = StartChild(command, folder_ / "output");
  return AwaitReady(process_, [this] { return ListensOnLoopback(port_); });
}

}  // namespace Lab
