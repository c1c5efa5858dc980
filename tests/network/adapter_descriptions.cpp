#include "adapter_descriptions.h"

namespace Halvard::Testing {

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

Json::Value DhcpAdapterWith(std::initializer_list<const char*> addresses) {
  Json::Value adapter = AdapterWith(addresses);
  adapter["dhcp"] = true;
  return adapter;
}

Json::Value JsonList(std::initializer_list<Json::Value> values) {
  Json::Value list(Json::arrayValue);
  for (const Json::Value& value : values) list.append(value);
  return list;
}

}  // namespace Halvard::Testing
