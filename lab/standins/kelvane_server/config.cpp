#include "config.h"

#include <json/reader.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>

#include "config_schema.h"
#include "machine/document_schema.h"

namespace Lab::Kelvane {
namespace {

/// Takes over a member that is there, and leaves the default otherwise.
void Take(const Json::Value& value, std::string& target) {
  if (!value.isNull()) target = value.asString();
}
void Take(const Json::Value& value, std::optional<std::string>& target) {
  if (!value.isNull()) target = value.asString();
}
void Take(const Json::Value& value, bool& target) {
  if (!value.isNull()) target = value.asBool();
}
void Take(const Json::Value& value, std::uint32_t& target) {
  if (!value.isNull()) target = value.asUInt();
}
void Take(const Json::Value& value, std::optional<std::uint32_t>& target) {
  if (!value.isNull()) target = value.asUInt();
}

Extension ReadExtensionEntry(const Json::Value& entry) {
  Extension extension;
  Take(entry["label"], extension.description.label);
  Take(entry["summary"], extension.description.summary);
  Take(entry["key"], extension.key);
  Take(entry["company"], extension.company);
  Take(entry["type"], extension.type);
  Take(entry["version"], extension.version);
  Take(entry["subjectName"], extension.subjectName);
  Take(entry["lastHeartbeatTime"], extension.lastHeartbeatTime);
  Take(entry["otherMembers"], extension.otherMembers);
  for (const Json::Value& item : entry["servers"]) {
    ExtensionServer& server = extension.server.emplace_back();
    Take(item["url"], server.url);
    Take(item["label"], server.description.label);
    Take(item["summary"], server.description.summary);
    Take(item["company"], server.company);
    Take(item["type"], server.type);
    for (const Json::Value& mail : item["adminEmail"]) server.adminEmail.push_back(mail.asString());
    Take(item["serverThumbprint"], server.serverThumbprint);
  }
  return extension;
}

Registration ReadRegistration(const Json::Value& entry) {
  Registration registration;
  Take(entry["serviceId"], registration.serviceId);
  Take(entry["product"], registration.product);
  Take(entry["type"], registration.type);
  for (const Json::Value& item : entry["endpoints"]) {
    EndPoint& endPoint = registration.endPoints.emplace_back();
    Take(item["url"], endPoint.url);
    Take(item["protocol"], endPoint.type.protocol);
    Take(item["type"], endPoint.type.type);
  }
  return registration;
}

/// A member that means nothing for the kind is more likely a slip than a wish.
void CheckMembers(const Json::Value& entry, const std::string& place,
                  std::initializer_list<const char*> common, const std::string& ofKind) {
  for (const std::string& name : entry.getMemberNames()) {
    bool fits = (" " + ofKind + " ").find(" " + name + " ") != std::string::npos;
    for (const char* known : common) fits = fits || name == known;
    if (!fits) {
      throw ConfigError(place + ": \"" + name + "\" means nothing for the kind " +
                        entry["kind"].asString());
    }
  }
  if (entry.isMember("from") && entry.isMember(common.begin()[1])) {
    throw ConfigError(place + ": expected either \"" + common.begin()[1] + "\" or \"from\"");
  }
}

OperationFault ReadFault(const Json::Value& entry, const std::string& place) {
  struct KindRow {
    const char* name;
    OperationFault::Kind kind;
    const char* members;
  };
  static constexpr KindRow kKinds[] = {
      {"slow", OperationFault::Kind::kSlow, "milliseconds"},
      {"pieces", OperationFault::Kind::kPieces, "bytes"},
      {"cut", OperationFault::Kind::kCut, "afterBytes"},
      {"close", OperationFault::Kind::kClose, ""},
      {"fault", OperationFault::Kind::kFault, "type text"},
      {"garbage", OperationFault::Kind::kGarbage, "text times status"},
  };
  OperationFault fault;
  for (const KindRow& row : kKinds) {
    if (entry["kind"].asString() != row.name) continue;
    CheckMembers(entry, place, {"operation", "call", "from", "kind"}, row.members);
    fault.kind = row.kind;
  }
  const bool isFault = fault.kind == OperationFault::Kind::kFault;
  fault.operation = entry["operation"].asString();
  fault.milliseconds = entry.get("milliseconds", 1000).asUInt();
  fault.bytes = entry.get(entry.isMember("bytes") ? "bytes" : "afterBytes", 1).asUInt();
  fault.type = entry.get("type", "SystemError").asString();
  fault.text = entry.get("text", isFault ? "A planned fault." : "This isn't XML.").asString();
  Take(entry["times"], fault.times);
  Take(entry["status"], fault.status);
  Take(entry["call"], fault.calls.only);
  Take(entry["from"], fault.calls.from);
  return fault;
}

ConnectionFault ReadConnectionFault(const Json::Value& entry, const std::string& place) {
  struct KindRow {
    const char* name;
    ConnectionFault::Kind kind;
    const char* members;
  };
  static constexpr KindRow kKinds[] = {
      {"certificate", ConnectionFault::Kind::kCertificate, ""},
      {"close", ConnectionFault::Kind::kClose, ""},
      {"silence", ConnectionFault::Kind::kSilence, ""},
      {"tunnel", ConnectionFault::Kind::kTunnel, "status"},
  };
  ConnectionFault fault;
  for (const KindRow& row : kKinds) {
    if (entry["kind"].asString() != row.name) continue;
    CheckMembers(entry, place, {"kind", "connection", "from"}, row.members);
    fault.kind = row.kind;
  }
  fault.status = entry.get("status", 503).asUInt();
  Take(entry["connection"], fault.connections.only);
  Take(entry["from"], fault.connections.from);
  return fault;
}

void ReadSession(const Json::Value& entry, SessionLifetime& session) {
  if (!entry["seconds"].isNull()) session.seconds = entry["seconds"].asDouble();
  if (!entry["requests"].isNull()) session.requests = entry["requests"].asInt();
}

void ReadInventory(const Json::Value& entry, InventorySizes& sizes) {
  Take(entry["seed"], sizes.seed);
  Take(entry["hosts"], sizes.hosts);
  Take(entry["machines"], sizes.machines);
  Take(entry["dataCenters"], sizes.dataCenters);
  Take(entry["folderDepth"], sizes.folderDepth);
  Take(entry["virtualApps"], sizes.virtualApps);
}

void ReadLists(const Json::Value& document, const std::string& name, Config& config) {
  for (const Json::Value& user : document["users"]) {
    config.users.push_back({user["name"].asString(), user["password"].asString()});
  }
  for (const Json::Value& entry : document["extensions"]) {
    config.extensions.push_back(ReadExtensionEntry(entry));
  }
  for (const Json::Value& entry : document["lookup"]["registrations"]) {
    config.registrations.push_back(ReadRegistration(entry));
  }
  for (Json::ArrayIndex i = 0; i < document["faults"].size(); ++i) {
    const std::string place = name + ": /faults/" + std::to_string(i);
    config.faults.push_back(ReadFault(document["faults"][i], place));
  }
  for (Json::ArrayIndex i = 0; i < document["connectionFaults"].size(); ++i) {
    const std::string place = name + ": /connectionFaults/" + std::to_string(i);
    config.connectionFaults.push_back(ReadConnectionFault(document["connectionFaults"][i], place));
  }
}

Json::Value ParseJson(const std::string& json, const std::string& name) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value document;
  std::string errors;
  if (!reader->parse(json.data(), json.data() + json.size(), &document, &errors)) {
    throw ConfigError(name + ": not JSON: " + errors);
  }
  return document;
}

}  // namespace

Config ParseConfig(const std::string& json, const std::string& name) {
  const Json::Value document = ParseJson(json, name);
  if (const auto fault = DocumentSchema(kConfigSchema).FindFault(document)) {
    throw ConfigError(name + ": " + *fault);
  }
  Config config;
  Take(document["address"], config.address);
  config.port = static_cast<std::uint16_t>(document.get("port", 0).asUInt());
  Take(document["tunnelPath"], config.tunnelPath);
  Take(document["certificate"], config.certificateFile);
  Take(document["explicitFlags"], config.explicitFlags);
  Take(document["pageLimit"], config.pageLimit);
  ReadSession(document["session"], config.session);
  Take(document["content"]["sessionManager"], config.content.sessionManager);
  Take(document["content"]["extensionManager"], config.content.extensionManager);
  Take(document["content"]["idSuffix"], config.content.idSuffix);
  ReadInventory(document["inventory"], config.inventory);
  Take(document["lookup"]["serviceRegistration"], config.lookupServiceRegistration);
  ReadLists(document, name, config);
  return config;
}

Config ReadConfig(const std::string& file) {
  if (file == "-") {
    return ParseConfig({std::istreambuf_iterator<char>(std::cin), {}}, "standard input");
  }
  std::ifstream stream(file, std::ios::binary);
  if (!stream) throw ConfigError(file + ": can't be read");
  return ParseConfig({std::istreambuf_iterator<char>(stream), {}}, file);
}

}  // namespace Lab::Kelvane
