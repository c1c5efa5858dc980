// The line with which a stand-in that is a program says that it serves.
#pragma once

#include <string>

#include <json/value.h>

namespace Lab {

/// Prints one line of JSON on standard output: "address", the "port" of it, the "pid" of this
/// process and the members of \p more. \param address  "127.0.0.1:4711".
void Announce(const std::string& address, Json::Value more);

}  // namespace Lab
