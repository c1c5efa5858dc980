#include "serverclient/extension_record.h"

namespace Halvard::ServerClient {
namespace {

constexpr const char* kCompany = "Ostrel, Inc.";
constexpr const char* kType = "Temporary Extension";
constexpr const char* kVersion = "6.0.0";
constexpr const char* kContact = "halvard@ostrel.example";

Quen::Description MakeDescription() {
  return {"Ostrel Halvard", "Temporary extension for Ostrel Halvard"};
}

Quen::Extension::ServerInfo MakeServer(const AgentAddress& agent) {
  Quen::Extension::ServerInfo server;
  server.url = "https://" + agent.host + ":" + agent.port + "/api";
  server.description = MakeDescription();
  server.company = kCompany;
  server.type = kType;
  server.adminEmail = {kContact};
  server.serverThumbprint = agent.thumbprint;
  return server;
}

void SetOwnFields(Quen::Extension& extension) {
  extension.description = MakeDescription();
  extension.company = kCompany;
  extension.type = kType;
  extension.version = kVersion;
  extension.subjectName = "";
}

void ClearFurtherFields(Quen::Extension& extension) {
  extension.client.clear();
  extension.taskList.clear();
  extension.eventList.clear();
  extension.faultList.clear();
  extension.privilegeList.clear();
  extension.resourceList.clear();
  extension.healthInfo.reset();
  extension.ovfConsumerInfo.reset();
  extension.extendedProductInfo.reset();
  extension.managedEntityInfo.clear();
  extension.solutionManagerInfo.reset();
}

}  // namespace

std::string ExtensionKey(const std::string& agentHost) { return "com.ostrel.halvard." + agentHost; }

Quen::Extension MakeExtension(const std::string& key, const AgentAddress& agent,
                              Tunrak::System::DateTime now) {
  Quen::Extension extension;
  SetOwnFields(extension);
  extension.key = key;
  extension.server = {MakeServer(agent)};
  extension.lastHeartbeatTime = now;
  return extension;
}

void UpdateExtension(Quen::Extension& extension, const AgentAddress& agent) {
  // A record without any entry is none of ours, but the key is.
  if (extension.server.empty()) extension.server.emplace_back();
  extension.server.front() = MakeServer(agent);
  SetOwnFields(extension);
  ClearFurtherFields(extension);
}

}  // namespace Halvard::ServerClient
