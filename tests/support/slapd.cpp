#include "support/slapd.h"

namespace Lab {
namespace {

std::string Entry(const std::string& host, int port) {
  return "/addressMap/" + host + ":" + std::to_string(port);
}

}  // namespace

void PlaceDirectory(Instance& machine, const Slapd& server, const std::string& host, int port) {
  machine.Set(Entry(host, port), server.Address());
}

void PlaceNothing(Instance& machine, const std::string& host, int port) {
  // The service that this port belongs to is for one host at a time and long out of use.
  machine.Set(Entry(host, port), "127.0.0.1:1");
}

}  // namespace Lab
