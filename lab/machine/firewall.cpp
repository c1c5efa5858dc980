#include "machine/firewall.h"

#include <algorithm>

#include "machine/description.h"
#include "machine/text.h"

namespace Lab {
namespace {

Opening ReadOpening(const Json::Value& entry) {
  const bool isUdp = entry.get("protocol", "tcp").asString() == "udp";
  return {static_cast<std::uint16_t>(entry["port"].asUInt()),
          isUdp ? IpProtocol::kUdp : IpProtocol::kTcp, ToWide(entry["name"].asString()),
          entry.get("enabled", true).asBool()};
}

Json::Value Written(const Opening& opening) {
  Json::Value entry;
  entry["port"] = opening.port;
  entry["protocol"] = opening.protocol == IpProtocol::kUdp ? "udp" : "tcp";
  entry["name"] = ToUtf8(opening.name);
  entry["enabled"] = opening.enabled;
  return entry;
}

Json::Value Written(const std::vector<Opening>& openings) {
  Json::Value document;
  document["openPorts"] = Json::Value(Json::arrayValue);
  for (const Opening& opening : openings) document["openPorts"].append(Written(opening));
  return document;
}

bool IsSound(const Json::Value& entry) {
  return entry.isObject() && entry["port"].isUInt() && entry["name"].isString() &&
         entry.get("protocol", "").isString() && entry.get("enabled", true).isBool();
}

std::vector<Opening>::iterator Place(std::vector<Opening>& openings, std::uint16_t port,
                                     IpProtocol protocol) {
  return std::ranges::find_if(openings, [&](const Opening& opening) {
    return opening.port == port && opening.protocol == protocol;
  });
}

}  // namespace

Firewall ReadFirewall(const Json::Value& firewall) {
  Firewall read;
  read.isOn = firewall.get("on", true).asBool();
  read.serviceRuns = firewall.get("serviceRuns", true).asBool();
  read.isManaged = firewall.get("managed", false).asBool();
  for (const Json::Value& entry : firewall["openPorts"]) {
    read.openings.push_back(ReadOpening(entry));
  }
  return read;
}

FirewallOpenings::FirewallOpenings(const std::filesystem::path& instance, const Firewall& described)
    : document_(instance, "firewall"), described_(described.openings) {}

std::vector<Opening> FirewallOpenings::OpeningsIn(const Json::Value& document) const {
  if (document.isNull()) return described_;
  if (!document.isObject() || !document["openPorts"].isArray()) {
    throw MachineError(document_.File().string() + ": /: expected an object with openPorts");
  }
  std::vector<Opening> openings;
  for (const Json::Value& entry : document["openPorts"]) {
    if (!IsSound(entry)) {
      throw MachineError(document_.File().string() + ": /openPorts/" +
                         std::to_string(openings.size()) +
                         ": expected an object with port, protocol, name and enabled");
    }
    openings.push_back(ReadOpening(entry));
  }
  return openings;
}

std::vector<Opening> FirewallOpenings::All() const { return OpeningsIn(document_.Read()); }

std::optional<Opening> FirewallOpenings::Find(std::uint16_t port, IpProtocol protocol) const {
  std::vector<Opening> openings = All();
  const auto place = Place(openings, port, protocol);
  if (place == openings.end()) return std::nullopt;
  return *place;
}

void FirewallOpenings::Add(const Opening& opening) {
  document_.Change([&](Json::Value& document) {
    std::vector<Opening> openings = OpeningsIn(document);
    const auto place = Place(openings, opening.port, opening.protocol);
    if (place == openings.end()) {
      openings.push_back(opening);
    } else {
      *place = opening;
    }
    document = Written(openings);
  });
}

void FirewallOpenings::Remove(std::uint16_t port, IpProtocol protocol) {
  document_.Change([&](Json::Value& document) {
    std::vector<Opening> openings = OpeningsIn(document);
    const auto place = Place(openings, port, protocol);
    if (place != openings.end()) openings.erase(place);
    document = Written(openings);
  });
}

}  // namespace Lab
