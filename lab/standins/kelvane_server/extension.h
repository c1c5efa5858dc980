// The record of an extension, its form on the wire.
#pragma once

#include <json/value.h>

#include <optional>
#include <string>
#include <vector>

#include <pugixml.hpp>

namespace Lab::Kelvane {

struct Description {
  std::string label;
  std::string summary;
};

struct ExtensionServer {
  std::string url;
  Description description;
  std::string company;
  std::string type;
  std::vector<std::string> adminEmail;
  std::optional<std::string> serverThumbprint;
};

/// An optional text that isn't set differs from an empty one, on the wire and here.
struct Extension {
  Description description;
  std::string key;
  std::optional<std::string> company;
  std::optional<std::string> type;
  std::string version;
  std::optional<std::string> subjectName;
  std::vector<ExtensionServer> server;
  std::string lastHeartbeatTime = "2026-01-01T00:00:00.000Z";
  /// The lists from client to resourceList and the members from healthInfo on. No client of this
  /// server writes them, so that they are all there or all absent.
  bool otherMembers = false;
};

/// Reads an extension that a client has written. Throws SoapFault for what isn't as agreed; a
/// member that clients only clear is refused.
Extension ReadExtension(pugi::xml_node node, std::string_view space);

/// \return The members of the record as elements, without an element around them.
std::string WriteExtension(const Extension& extension);

/// The record for the journal; members that aren't set are absent.
Json::Value DescribeExtension(const Extension& extension);

}  // namespace Lab::Kelvane
