#include "extension.h"

#include <array>

#include "members.h"
#include "soap_fault.h"
#include "xml_text.h"

namespace Lab::Kelvane {
namespace {

constexpr std::array kOtherLists = {"client",    "taskList",      "eventList",
                                    "faultList", "privilegeList", "resourceList"};
constexpr std::array kLastMembers = {"healthInfo", "ovfConsumerInfo", "extendedProductInfo",
                                     "managedEntityInfo", "solutionManagerInfo"};

Description ReadDescription(pugi::xml_node node, std::string_view space) {
  Members members(node, space);
  Description description;
  description.label = ReadText(members.Required("label"));
  description.summary = ReadText(members.Required("summary"));
  members.End();
  return description;
}

ExtensionServer ReadServer(pugi::xml_node node, std::string_view space) {
  Members members(node, space);
  ExtensionServer server;
  server.url = ReadText(members.Required("url"));
  server.description = ReadDescription(members.Required("description"), space);
  server.company = ReadText(members.Required("company"));
  server.type = ReadText(members.Required("type"));
  for (const pugi::xml_node mail : members.List("adminEmail")) {
    server.adminEmail.push_back(ReadText(mail));
  }
  server.serverThumbprint = ReadOptionalText(members.Optional("serverThumbprint"));
  members.End();
  return server;
}

template <typename Names>
void RefuseOthers(Members& members, const Names& names) {
  for (const char* name : names) {
    if (members.Optional(name)) Refuse("A client doesn't write <" + std::string(name) + ">");
  }
}

std::string WriteDescription(const Description& description) {
  return "<description>" + Element("label", description.label) +
         Element("summary", description.summary) + "</description>";
}

std::string WriteOptional(const char* name, const std::optional<std::string>& text) {
  return text ? Element(name, *text) : "";
}

std::string WriteServer(const ExtensionServer& server) {
  std::string xml = "<server>" + Element("url", server.url) + WriteDescription(server.description) +
                    Element("company", server.company) + Element("type", server.type);
  for (const std::string& mail : server.adminEmail) xml += Element("adminEmail", mail);
  return xml + WriteOptional("serverThumbprint", server.serverThumbprint) + "</server>";
}

/// A structure that no client looks into; it has members named as those around it, so that a reader
/// that searches instead of following the order is found out.
std::string WriteOther(const char* name) {
  const std::string element = name;
  return "<" + element + "><key>other</key><server><url>https://other.example/</url></server><" +
         element + "/></" + element + ">";
}

Json::Value DescribeServer(const ExtensionServer& server) {
  Json::Value value;
  value["url"] = server.url;
  value["label"] = server.description.label;
  value["summary"] = server.description.summary;
  value["company"] = server.company;
  value["type"] = server.type;
  value["adminEmail"] = Json::Value(Json::arrayValue);
  for (const std::string& mail : server.adminEmail) value["adminEmail"].append(mail);
  if (server.serverThumbprint) value["serverThumbprint"] = *server.serverThumbprint;
  return value;
}

}  // namespace

Extension ReadExtension(pugi::xml_node node, std::string_view space) {
  Members members(node, space);
  Extension extension;
  extension.description = ReadDescription(members.Required("description"), space);
  extension.key = ReadText(members.Required("key"));
  if (extension.key.empty()) Refuse("An extension needs a key.", "InvalidArgument");
  extension.company = ReadOptionalText(members.Optional("company"));
  extension.type = ReadOptionalText(members.Optional("type"));
  extension.version = ReadText(members.Required("version"));
  extension.subjectName = ReadOptionalText(members.Optional("subjectName"));
  for (const pugi::xml_node server : members.List("server")) {
    extension.server.push_back(ReadServer(server, space));
  }
  RefuseOthers(members, kOtherLists);
  extension.lastHeartbeatTime = ReadDateTime(members.Required("lastHeartbeatTime"));
  RefuseOthers(members, kLastMembers);
  members.End();
  return extension;
}

std::string WriteExtension(const Extension& extension) {
  std::string xml = WriteDescription(extension.description) + Element("key", extension.key) +
                    WriteOptional("company", extension.company) +
                    WriteOptional("type", extension.type) + Element("version", extension.version) +
                    WriteOptional("subjectName", extension.subjectName);
  for (const ExtensionServer& server : extension.server) xml += WriteServer(server);
  if (extension.otherMembers) {
    for (const char* name : kOtherLists) xml += WriteOther(name) + WriteOther(name);
  }
  xml += Element("lastHeartbeatTime", extension.lastHeartbeatTime);
  if (extension.otherMembers) {
    for (const char* name : kLastMembers) xml += WriteOther(name);
  }
  return xml;
}

Json::Value DescribeExtension(const Extension& extension) {
  Json::Value value;
  value["label"] = extension.description.label;
  value["summary"] = extension.description.summary;
  value["key"] = extension.key;
  if (extension.company) value["company"] = *extension.company;
  if (extension.type) value["type"] = *extension.type;
  value["version"] = extension.version;
  if (extension.subjectName) value["subjectName"] = *extension.subjectName;
  value["servers"] = Json::Value(Json::arrayValue);
  for (const ExtensionServer& server : extension.server) {
    value["servers"].append(DescribeServer(server));
  }
  value["lastHeartbeatTime"] = extension.lastHeartbeatTime;
  value["otherMembers"] = extension.otherMembers;
  return value;
}

}  // namespace Lab::Kelvane
