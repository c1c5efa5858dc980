// Adapters for the description of a machine.
#pragma once

#include <json/value.h>

#include <initializer_list>

namespace Halvard::Testing {

/// A description of an adapter with these addresses.
Json::Value AdapterWith(std::initializer_list<const char*> addresses);

/// The same of one that has them from DHCP.
Json::Value DhcpAdapterWith(std::initializer_list<const char*> addresses);

/// A list for the description of a machine.
Json::Value JsonList(std::initializer_list<Json::Value> values);

}  // namespace Halvard::Testing
