// The machine's firewall as described, and the ports that are open in it now, in the file
// firewall.json of the instance:
//
//   {"openPorts": [{"port": 443, "protocol": "tcp", "name": "Secure Web", "enabled": true}]}
//
// Without the file the ports are open that the description says.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <json/value.h>

#include "machine/shared_document.h"

namespace Lab {

enum class IpProtocol { kTcp, kUdp };

/// A port that is open in the firewall, or was.
struct Opening {
  std::uint16_t port = 0;
  IpProtocol protocol = IpProtocol::kTcp;
  std::wstring name;    ///< As an administrator sees it.
  bool enabled = true;  ///< What isn't opens nothing.

  friend bool operator==(const Opening&, const Opening&) = default;
};

struct Firewall {
  bool isOn = true;
  bool serviceRuns = true;
  bool isManaged = false;  ///< By somebody who lets nobody add openings.
  std::vector<Opening> openings;
};

/// \param firewall  The description's member, already tested against the schema.
Firewall ReadFirewall(const Json::Value& firewall);

/// The openings on disk, shared by all processes of an instance: a change is there when the call
/// returns. Safe under threads.
class FirewallOpenings {
 public:
  FirewallOpenings(const std::filesystem::path& instance, const Firewall& described);

  /// \throw MachineError when somebody has spoilt the file.
  std::vector<Opening> All() const;
  std::optional<Opening> Find(std::uint16_t port, IpProtocol protocol) const;

  /// Takes the place of one of the same port and protocol.
  void Add(const Opening& opening);
  void Remove(std::uint16_t port, IpProtocol protocol);

 private:
  std::vector<Opening> OpeningsIn(const Json::Value& document) const;

  SharedDocument document_;
  const std::vector<Opening> described_;
};

}  // namespace Lab
