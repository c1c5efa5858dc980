#include "network_test.h"

namespace Halvard {

bool Network::GetActiveDirectoryConfig(ActiveDirectoryConfig& config) {
  config = Testing::TheDomain().config;
  return Testing::TheDomain().answers;
}

namespace Testing {

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
