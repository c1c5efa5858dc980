#include "machine/name_service.h"

#include <stdexcept>

#include "machine/hex_bytes.h"

namespace Lab {
namespace {

constexpr std::uint16_t kTypeA = 1, kTypeAlias = 5, kTypeAaaa = 28;

std::uint16_t RecordType(const Json::Value& type) {
  if (type.isIntegral()) return static_cast<std::uint16_t>(type.asUInt());
  if (type == "A") return kTypeA;
  return type == "AAAA" ? kTypeAaaa : kTypeAlias;
}

unsigned Section(const std::string& name) {
  if (name == "authority") return 2;
  return name == "additional" ? 3 : 1;
}

std::string AddressBytes(const Json::Value& text, int family, const std::string& place) {
  const auto address = ParseAddress(text.asString());
  if (!address || address->any.sa_family != family) {
    throw std::invalid_argument(place + "/value: expected an address of the record's family");
  }
  if (family == AF_INET) {
    return {reinterpret_cast<const char*>(&address->v4.sin_addr), sizeof(in_addr)};
  }
  return {reinterpret_cast<const char*>(&address->v6.sin6_addr), sizeof(in6_addr)};
}

void ReadData(const Json::Value& entry, const std::string& place, DnsRecord& record) {
  const Json::Value& value = entry["value"];
  if (entry["type"].isIntegral()) {
    record.data = HexBytes(value.asString());
  } else if (record.type == kTypeAlias) {
    record.target = ToWide(value.asString());
  } else {
    record.data = AddressBytes(value, record.type == kTypeA ? AF_INET : AF_INET6, place);
  }
}

DnsName::Record ReadNameRecord(const Json::Value& entry, const std::wstring& name,
                               const std::string& place) {
  constexpr unsigned kUsualLifetime = 3600;
  DnsName::Record read;
  read.record.name = name;
  read.record.type = RecordType(entry["type"]);
  read.record.section = Section(entry.get("section", "answer").asString());
  read.record.lifetime = entry.get("lifetime", kUsualLifetime).asUInt();
  ReadData(entry, place, read.record);
  for (const Json::Value& question : entry["questions"]) {
    read.questions.push_back(RecordType(question));
  }
  // An address answers the question for its type; anything else comes along with every answer.
  const bool isAddress = entry["type"] == "A" || entry["type"] == "AAAA";
  if (read.questions.empty() && isAddress) read.questions.push_back(read.record.type);
  return read;
}

std::uint32_t FailureStatus(const std::string& name) {
  constexpr std::uint32_t kTimeout = 1460, kFirstOfServers = 9000;
  static const std::map<std::string, std::uint32_t> kCodes = {
      {"formatError", 1}, {"serverFailure", 2}, {"notImplemented", 4}, {"refused", 5}};
  const auto code = kCodes.find(name);
  return code == kCodes.end() ? kTimeout : kFirstOfServers + code->second;
}

DnsName ReadName(const Json::Value& value, const std::wstring& name, const std::string& place) {
  DnsName read;
  if (value.isString()) {
    read.failure = FailureStatus(value.asString());
    return read;
  }
  for (Json::ArrayIndex i = 0; i < value.size(); ++i) {
    read.records.push_back(ReadNameRecord(value[i], name, place + "/" + std::to_string(i)));
  }
  return read;
}

}  // namespace

NameService ReadNameService(const Json::Value& hosts, const Json::Value& dns) {
  NameService service;
  for (const std::string& name : hosts.getMemberNames()) {
    std::vector<SocketAddress>& addresses = service.hosts[ToWide(name)];
    for (const Json::Value& text : hosts[name]) {
      const auto address = ParseAddress(text.asString());
      if (!address) throw std::invalid_argument("/hosts/" + name + ": expected addresses");
      addresses.push_back(*address);
    }
  }
  service.hasDns = !dns.isNull();
  service.hostResolver = dns.isString();
  if (service.hostResolver) return service;
  for (const std::string& name : dns["names"].getMemberNames()) {
    service.names[ToWide(name)] = ReadName(dns["names"][name], ToWide(name), "/dns/names/" + name);
  }
  for (const Json::Value& suffix : dns["suffixes"]) {
    service.suffixes.push_back(ToWide(suffix.asString()));
  }
  if (dns.isMember("server")) {
    service.server = ParseAddress(dns["server"].asString());
    if (!service.server) throw std::invalid_argument("/dns/server: expected an address");
  }
  return service;
}

}  // namespace Lab
