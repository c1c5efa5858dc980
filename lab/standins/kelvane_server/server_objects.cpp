#include "server_objects.h"

#include <chrono>
#include <cstdio>

#include "soap_fault.h"
#include "xml_text.h"

namespace Lab::Kelvane {
namespace {

std::string Now() {
  using namespace std::chrono;
  const auto now = floor<milliseconds>(system_clock::now());
  const auto day = floor<days>(now);
  const year_month_day date(day);
  const hh_mm_ss time(now - day);
  char text[64];
  (void)std::snprintf(
      text, sizeof(text), "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
      static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
      static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
      static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
  return text;
}

std::string ReferenceElement(const char* element, const std::string& type, const std::string& id) {
  const std::string name = element;
  return "<" + name + " type=\"" + type + "\">" + EscapeXml(id) + "</" + name + ">";
}

std::string Result(const std::string& members) { return "<result>" + members + "</result>"; }

std::string WritePage(const Page& page, Json::Value& record) {
  record["objects"] = static_cast<Json::UInt>(page.objects);
  record["token"] = page.hasToken;
  return Result(page.xml);
}

}  // namespace

struct ServerObjects::Operation {
  std::string_view name;
  std::string_view object;  ///< The type of self.
  bool wantsSession;
  ServiceAnswer (ServerObjects::*invoke)(Call&);
};

ServerObjects::ServerObjects(const Config& config, const Inventory& inventory, Journal& journal)
    : config_(config),
      inventory_(inventory),
      journal_(journal),
      sessions_(config.session),
      collector_(inventory, config.pageLimit) {
  for (const Extension& extension : config_.extensions) extensions_[extension.key] = extension;
  RecordExtensions();
}

const ServerObjects::Operation* ServerObjects::FindOperation(std::string_view name) {
  using S = ServerObjects;
  static constexpr Operation kOperations[] = {
      {"RetrieveContent", "ServiceInstance", false, &S::RetrieveContent},
      {"Login", "SessionManager", false, &S::Login},
      {"Logout", "SessionManager", true, &S::Logout},
      {"RetrieveProperties", "PropertyCollector", true, &S::RetrieveProperties},
      {"ContinueRetrieveProperties", "PropertyCollector", true, &S::ContinueRetrieveProperties},
      {"FindExtension", "ExtensionManager", true, &S::FindExtension},
      {"RegisterExtension", "ExtensionManager", true, &S::RegisterExtension},
      {"UpdateExtension", "ExtensionManager", true, &S::UpdateExtension},
      {"UnregisterExtension", "ExtensionManager", true, &S::UnregisterExtension},
  };
  for (const Operation& operation : kOperations) {
    if (operation.name == name) return &operation;
  }
  return nullptr;
}

ServiceAnswer ServerObjects::Invoke(const SoapRequest& request, const std::string& cookie,
                                    Json::Value& record) {
  const Operation* operation = FindOperation(request.Name());
  if (operation == nullptr) Refuse("Unknown operation <" + std::string(request.Name()) + ">");
  const bool exists = (operation->object != "SessionManager" || config_.content.sessionManager) &&
                      (operation->object != "ExtensionManager" || config_.content.extensionManager);
  const std::string type(operation->object);
  if (!exists) Refuse("There is no " + type + ".", "ManagedObjectNotFound");
  Members arguments(request.operation, Space());
  TakeSelf(arguments, {type, IdOf(type)});
  Call call{arguments, cookie, 0, record};
  if (operation->wantsSession) call.session = UseSession(cookie, record);
  return (this->*operation->invoke)(call);
}

std::string ServerObjects::IdOf(std::string_view type) const {
  // The one id that a client knows before it has the content.
  if (type == "ServiceInstance") return "ServiceInstance";
  return std::string(type) + config_.content.idSuffix;
}

int ServerObjects::UseSession(const std::string& cookie, Json::Value& record) {
  int expired = 0;
  try {
    const Session& session = sessions_.Use(cookie, expired);
    record["session"] = session.number;
    record["user"] = session.user;
    return session.number;
  } catch (const SoapFault&) {
    if (expired != 0) {
      collector_.EndSession(expired);
      RecordSession(expired, "expired");
    }
    throw;
  }
}

void ServerObjects::RecordSession(int session, const char* state) {
  Json::Value line;
  line["event"] = "session";
  line["session"] = session;
  line["state"] = state;
  journal_.Write(line);
}

void ServerObjects::RecordExtensions() {
  Json::Value line;
  line["event"] = "extensions";
  line["extensions"] = Json::Value(Json::arrayValue);
  for (const auto& [key, extension] : extensions_) {
    line["extensions"].append(DescribeExtension(extension));
  }
  journal_.Write(line);
}

ServiceAnswer ServerObjects::RetrieveContent(Call& call) {
  call.arguments.End();
  std::string members =
      ReferenceElement("rootFolder", "Folder", inventory_.IdOf(kRootFolder)) +
      ReferenceElement("propertyCollector", "PropertyCollector", IdOf("PropertyCollector"));
  if (config_.content.sessionManager) {
    members += ReferenceElement("sessionManager", "SessionManager", IdOf("SessionManager"));
  }
  if (config_.content.extensionManager) {
    members += ReferenceElement("extensionManager", "ExtensionManager", IdOf("ExtensionManager"));
  }
  return {Result(members), {}};
}

ServiceAnswer ServerObjects::Login(Call& call) {
  const std::string name = ReadText(call.arguments.Required("userName"));
  const std::string password = ReadText(call.arguments.Required("password"));
  const std::string locale = ReadText(call.arguments.Required("locale"));
  call.arguments.End();
  call.record["user"] = name;
  call.record["locale"] = locale;
  if (locale.empty()) Refuse("The locale is empty.", "InvalidArgument");
  bool known = false;
  for (const User& user : config_.users) {
    known = known || (user.name == name && user.password == password);
  }
  if (!known) {
    Deny("InvalidLogin", "Cannot complete login due to an incorrect user name or password.");
  }
  const std::string cookie = sessions_.Open(name);
  const int session = sessions_.Get(cookie).number;
  call.record["session"] = session;
  RecordSession(session, "opened");
  return {Result(Element("key", "session-" + std::to_string(session)) + Element("userName", name) +
                 Element("locale", locale) + Element("loginTime", Now())),
          cookie};
}

ServiceAnswer ServerObjects::Logout(Call& call) {
  call.arguments.End();
  sessions_.Close(call.cookie);
  collector_.EndSession(call.session);
  RecordSession(call.session, "loggedOut");
  return {};
}

ServiceAnswer ServerObjects::RetrieveProperties(Call& call) {
  std::vector<FilterSpec> filters;
  for (const pugi::xml_node node : call.arguments.List("specSet")) {
    filters.push_back(ReadFilterSpec(node, Space(), config_.explicitFlags));
  }
  if (filters.empty()) Refuse("There is no specSet.", "InvalidArgument");
  Members options(call.arguments.Required("options"), Space());
  const pugi::xml_node limit = options.Optional("maxObjects");
  const std::optional<std::int32_t> maxObjects =
      limit ? std::optional(ReadInteger(limit)) : std::nullopt;
  options.End();
  call.arguments.End();
  const std::optional<Page> page = collector_.Retrieve(call.session, filters, maxObjects);
  if (!page) {
    call.record["objects"] = 0;
    return {};
  }
  return {WritePage(*page, call.record), {}};
}

ServiceAnswer ServerObjects::ContinueRetrieveProperties(Call& call) {
  const std::string token = ReadText(call.arguments.Required("token"));
  call.arguments.End();
  return {WritePage(collector_.Continue(call.session, token), call.record), {}};
}

ServiceAnswer ServerObjects::FindExtension(Call& call) {
  const std::string key = ReadText(call.arguments.Required("extensionKey"));
  call.arguments.End();
  call.record["extension"] = key;
  const auto entry = extensions_.find(key);
  if (entry == extensions_.end()) return {};
  return {Result(WriteExtension(entry->second)), {}};
}

ServiceAnswer ServerObjects::RegisterExtension(Call& call) {
  const Extension extension = ReadExtension(call.arguments.Required("extension"), Space());
  call.arguments.End();
  call.record["extension"] = extension.key;
  if (!extensions_.emplace(extension.key, extension).second) {
    Deny("AlreadyExists", "An extension with the key is registered already.");
  }
  RecordExtensions();
  return {};
}

ServiceAnswer ServerObjects::UpdateExtension(Call& call) {
  const Extension extension = ReadExtension(call.arguments.Required("extension"), Space());
  call.arguments.End();
  call.record["extension"] = extension.key;
  const auto entry = extensions_.find(extension.key);
  if (entry == extensions_.end()) Deny("NotFound", "No extension with the key is registered.");
  entry->second = extension;
  RecordExtensions();
  return {};
}

ServiceAnswer ServerObjects::UnregisterExtension(Call& call) {
  const std::string key = ReadText(call.arguments.Required("extensionKey"));
  call.arguments.End();
  call.record["extension"] = key;
  if (extensions_.erase(key) == 0) Deny("NotFound", "No extension with the key is registered.");
  RecordExtensions();
  return {};
}

}  // namespace Lab::Kelvane
