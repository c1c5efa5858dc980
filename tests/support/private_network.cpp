#include "support/private_network.h"

#include <gtest/gtest.h>

#include <sched.h>
#include <sys/mount.h>

#include <cerrno>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "standins/host_server/child_process.h"
#include "standins/host_server/scratch_folder.h"

namespace Lab {
namespace {

constexpr const char* kCommands[] = {
    "link set lo up",
    "link add lan address 02:00:00:00:00:0a type veth peer name lan-end",
    "link add leased address 02:00:00:00:00:14 type veth peer name leased-end",
    "address add 192.0.2.10/24 dev lan",
    "address add 2001:db8::10/64 dev lan nodad",
    "address add 198.51.100.20/24 dev leased valid_lft 3600 preferred_lft 3600",
    "address add 2001:db8:1::20/128 dev leased valid_lft 3600 preferred_lft 3600 nodad",
    "link set lan-end up",
    "link set leased-end up",
    "link set lan up",
    "link set leased up",
    "route add default via 192.0.2.1",
    "-6 route add default via fe80::1 dev lan",
};

void Expect(int result, const char* what) {
  if (result == 0) return;
  throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

void PutInPlace(const ScratchFolder& folder, const std::string& name, const std::string& text) {
  folder.Write(name, text);
  const std::string place = "/etc/" + name;
  Expect(mount((folder / name).c_str(), place.c_str(), nullptr, MS_BIND, nullptr), place.c_str());
}

/// Takes the calling thread out of the host's network, for good.
void LeaveHostNetwork(const ScratchFolder& folder) {
  Expect(unshare(CLONE_NEWNET | CLONE_NEWNS), "the host permits no private network");
  Expect(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr), "/");
  PutInPlace(folder, "resolv.conf", "nameserver 127.0.0.1\nsearch corp.example\n");
  PutInPlace(folder, "hosts", "127.0.0.1 localhost\n::1 localhost\n192.0.2.10 filed.example\n");
  for (const char* const command : kCommands) {
    std::vector<std::string> words{"/usr/sbin/ip"};
    std::istringstream rest(command);
    for (std::string word; rest >> word;) words.push_back(word);
    RunChild(words, folder / "output");
  }
}

}  // namespace

std::string RunInPrivateNetwork(const std::function<void()>& body) {
  const ScratchFolder folder("private-network");
  std::string obstacle;
  std::thread([&] {
    try {
      LeaveHostNetwork(folder);
    } catch (const std::runtime_error& error) {
      obstacle = error.what();
      return;
    }
    try {
      body();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
  }).join();
  return obstacle;
}

}  // namespace Lab
