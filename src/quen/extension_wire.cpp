#include "quen/extension_wire.h"

#include "tunrak/exception.h"
#include "zelmo/member_reader.h"

namespace Quen {
namespace {

using Zelmo::MemberReader;
using Zelmo::MemberWriter;

Description ReadDescription(pugi::xml_node node) {
  MemberReader reader(node);
  Description description;
  description.label = reader.Text("label");
  description.summary = reader.Text("summary");
  reader.End();
  return description;
}

Extension::ServerInfo ReadServer(pugi::xml_node node) {
  MemberReader reader(node);
  Extension::ServerInfo server;
  server.url = reader.Text("url");
  server.description = ReadDescription(reader.Structure("description"));
  server.company = reader.Text("company");
  server.type = reader.Text("type");
  server.adminEmail = reader.Texts("adminEmail");
  server.serverThumbprint = reader.OptionalText("serverThumbprint");
  reader.End();
  return server;
}

std::vector<OpaqueData> ReadOpaqueList(MemberReader& reader, const char* name) {
  return std::vector<OpaqueData>(reader.Structures(name).size());
}

std::optional<OpaqueData> ReadOpaque(MemberReader& reader, const char* name) {
  if (!reader.OptionalStructure(name)) return std::nullopt;
  return OpaqueData();
}

void WriteDescription(MemberWriter writer, const Description& description) {
  writer.Text("label", description.label);
  writer.Text("summary", description.summary);
}

void WriteServer(MemberWriter writer, const Extension::ServerInfo& server) {
  writer.Text("url", server.url);
  WriteDescription(writer.Structure("description"), server.description);
  writer.Text("company", server.company);
  writer.Text("type", server.type);
  writer.Texts("adminEmail", server.adminEmail);
  if (server.serverThumbprint) writer.Text("serverThumbprint", *server.serverThumbprint);
}

void WriteOptional(MemberWriter& writer, const char* name, const std::optional<std::string>& text) {
  if (text) writer.Text(name, *text);
}

bool HasOpaqueParts(const Extension& extension) {
  return !extension.client.empty() || !extension.taskList.empty() || !extension.eventList.empty() ||
         !extension.faultList.empty() || !extension.privilegeList.empty() ||
         !extension.resourceList.empty() || !extension.managedEntityInfo.empty() ||
         extension.healthInfo.has_value() || extension.ovfConsumerInfo.has_value() ||
         extension.extendedProductInfo.has_value() || extension.solutionManagerInfo.has_value();
}

}  // namespace

Extension ReadExtension(pugi::xml_node node) {
  MemberReader reader(node);
  Extension extension;
  extension.description = ReadDescription(reader.Structure("description"));
  extension.key = reader.Text("key");
  extension.company = reader.OptionalText("company");
  extension.type = reader.OptionalText("type");
  extension.version = reader.Text("version");
  extension.subjectName = reader.OptionalText("subjectName");
  for (const pugi::xml_node server : reader.Structures("server")) {
    extension.server.push_back(ReadServer(server));
  }
  extension.client = ReadOpaqueList(reader, "client");
  extension.taskList = ReadOpaqueList(reader, "taskList");
  extension.eventList = ReadOpaqueList(reader, "eventList");
  extension.faultList = ReadOpaqueList(reader, "faultList");
  extension.privilegeList = ReadOpaqueList(reader, "privilegeList");
  extension.resourceList = ReadOpaqueList(reader, "resourceList");
  extension.lastHeartbeatTime = reader.Time("lastHeartbeatTime");
  extension.healthInfo = ReadOpaque(reader, "healthInfo");
  extension.ovfConsumerInfo = ReadOpaque(reader, "ovfConsumerInfo");
  extension.extendedProductInfo = ReadOpaque(reader, "extendedProductInfo");
  extension.managedEntityInfo = ReadOpaqueList(reader, "managedEntityInfo");
  extension.solutionManagerInfo = ReadOpaque(reader, "solutionManagerInfo");
  reader.End();
  return extension;
}

void WriteExtension(MemberWriter writer, const Extension& extension) {
  if (HasOpaqueParts(extension)) {
    throw Tunrak::Exception("The extension " + extension.key + " has parts that can't be sent.");
  }
  WriteDescription(writer.Structure("description"), extension.description);
  writer.Text("key", extension.key);
  WriteOptional(writer, "company", extension.company);
  WriteOptional(writer, "type", extension.type);
  writer.Text("version", extension.version);
  WriteOptional(writer, "subjectName", extension.subjectName);
  for (const auto& server : extension.server) WriteServer(writer.Structure("server"), server);
  writer.Time("lastHeartbeatTime", extension.lastHeartbeatTime);
}

}  // namespace Quen
