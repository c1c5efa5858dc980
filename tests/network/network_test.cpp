#include "network_test.h"

namespace Halvard {

bool Network::GetActiveDirectoryConfig(ActiveDirectoryConfig& config) {
  config = Testing::TheDomain().config;
  return Testing::TheDomain().answers;
}

namespace Testing {

Json::Value AdapterWith(std::initializer_list<const char*> addresses) {
  Json::Value adapter;
  adapter["addresses"] = Json::Value(Json::arrayValue);
  for (const char* text : addresses) {
    Json::Value address;
    address["address"] = text;
    adapter["addresses"].append(address);
  }
  return adapter;
}

Json::Value JsonList(std::initializer_list<Json::Value> values) {
  Json::Value list(Json::arrayValue);
  for (const Json::Value& value : values) list.append(value);
  return list;
}

KnownDomain& TheDomain() {
  static KnownDomain domain;
  return domain;
}

NamesTest::NamesTest() {
  TheDomain() = {};
  machine_.Set("/dns/names", Json::Value(Json::objectValue));
}

void NamesTest::SetHost(const std::string& name, std::initializer_list<Json::Value> addresses) {
  machine_.Set("/hosts/" + name, JsonList(addresses));
}

void NamesTest::SetDns(const std::string& name, const Json::Value& records) {
  machine_.Set("/dns/names/" + name, records);
}

void NamesTest::Refuse(const char* function, std::uint32_t error, std::uint32_t call) {
  machine_.PlanFault({.function = function, .call = call, .match = {}, .error = error});
}

Json::Value NamesTest::Record(const Json::Value& type, const char* value) {
  Json::Value record;
  record["type"] = type;
  record["value"] = value;
  return record;
}

}  // namespace Testing
}  // namespace Halvard
