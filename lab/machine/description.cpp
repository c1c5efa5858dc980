#include "machine/description.h"

#include <arpa/inet.h>
#include <json/reader.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>

#include "machine/json_text.h"
#include "machine/schema_check.h"
#include "machine/valid_mark.h"

namespace Lab {
namespace {

constexpr std::wstring_view kAdministrators = L"S-1-5-32-544";

void AddVariables(const Json::Value& variables, Variables& all) {
  for (const std::string& name : variables.getMemberNames()) {
    all[ToWide(name)] = WideText(variables[name]);
  }
}

/// A machine that has joined a domain bears the domain's name behind its own unless told otherwise.
std::wstring FullName(const Json::Value& computer, const Description& description) {
  if (computer.isMember("fullName")) return WideText(computer["fullName"]);
  if (!description.domain) return description.computerName;
  return description.computerName + L"." + description.domain->name;
}

void ReadUser(const Json::Value& user, Description& description) {
  description.userName = WideText(user["name"]);
  description.userSid = WideText(user["sid"]);
  description.defaultOwner = WideText(user["defaultOwner"]);
  const bool elevated = user.get("elevated", true).asBool();
  for (const Json::Value& sid : user["groups"]) {
    description.groups.push_back({WideText(sid), !elevated && WideText(sid) == kAdministrators});
  }
}

void ReadProgram(const Json::Value& program, Description& description) {
  description.programPath = WideText(program["path"]);
  const std::wstring& path = description.programPath;
  const std::size_t end = path.rfind(L'\\');
  description.currentDirectory = program.isMember("currentDirectory")
                                     ? WideText(program["currentDirectory"])
                                     : path.substr(0, end == 2 ? 3 : end);
}

void ReadEnvironment(const Json::Value& environment, Description& description) {
  AddVariables(environment["system"], description.systemVariables);
  for (const char* part : {"system", "user"}) {
    AddVariables(environment[part], description.userVariables);
  }
  for (const char* part : {"system", "user", "process"}) {
    AddVariables(environment[part], description.processVariables);
  }
}

void ReadProducts(const Json::Value& products, Description& description) {
  for (const std::string& code : products.getMemberNames()) {
    Product product{ToWide(code), WideText(products[code]["upgradeCode"]), {}};
    const Json::Value& properties = products[code]["properties"];
    for (const std::string& name : properties.getMemberNames()) {
      product.properties[ToWide(name)] = WideText(properties[name]);
    }
    description.products.push_back(std::move(product));
  }
}

/// The computer, its user, and who else is known there.
void ReadIdentity(const Json::Value& document, Description& description) {
  const Json::Value& computer = document["computer"];
  description.computerName = WideText(computer["name"]);
  description.uiLanguage = static_cast<std::uint16_t>(computer.get("uiLanguage", 1033).asUInt());
  description.sessionId = computer.get("session", 1).asUInt();
  ReadUser(document["user"], description);
  description.computerSid =
      ComputerSid(description.computerName, description.userName, description.userSid);
  description.accounts = ReadAccounts(document["accounts"], description.computerName,
                                      description.userName, description.userSid);
  description.domain = ReadDomain(document["domain"]);
  description.fullName = FullName(computer, description);
}

/// The agent's own program and environment, and what is installed beside it.
void ReadSoftware(const Json::Value& document, Description& description) {
  ReadProgram(document["program"], description);
  ReadEnvironment(document["environment"], description);
  for (const std::string& name : document["programs"].getMemberNames()) {
    description.programs[ToWide(name)] = document["programs"][name].asString();
  }
  for (const std::string& name : document["knownFolders"].getMemberNames()) {
    description.knownFolders[name] = WideText(document["knownFolders"][name]);
  }
  ReadProducts(document["products"], description);
  description.installerBusy = document["installer"].get("busy", false).asBool();
  description.services = ReadServices(document["services"]);
}

std::uint32_t TcpState(const std::string& name) {
  constexpr std::uint32_t kListening = 2, kEstablished = 5, kTimeWait = 11;
  if (name == "established") return kEstablished;
  return name == "timeWait" ? kTimeWait : kListening;
}

/// Reads {"0.0.0.0:443": "listening"}. Throws std::invalid_argument for a name that is no end
/// point.
std::vector<EndPoint> ReadEndPoints(const Json::Value& states, const std::string& place) {
  std::vector<EndPoint> endPoints;
  for (const std::string& name : states.getMemberNames()) {
    const auto endPoint = ParseHostPort(name);
    in_addr address{};
    if (!endPoint || inet_pton(AF_INET, endPoint->host.c_str(), &address) != 1) {
      throw std::invalid_argument(place +
                                  ": expected an IPv4 address, a colon and a port: " + name);
    }
    endPoints.push_back(
        {ToWide(endPoint->host), endPoint->port, TcpState(states[name].asString())});
  }
  return endPoints;
}

/// Throws std::invalid_argument for what are no end points.
void ReadPorts(const Json::Value& ports, Description& description) {
  description.tcp = ReadEndPoints(ports["tcp"], "/ports/tcp");
  description.udp = ReadEndPoints(ports["udp"], "/ports/udp");
  description.hostEndPoints = ports.get("host", false).asBool();
}

ZipCopying ReadZipCopying(const Json::Value& document) {
  static const std::map<std::string, ZipCopying::Manner> kManners = {
      {"visible", ZipCopying::Manner::kVisible},     {"quick", ZipCopying::Manner::kQuick},
      {"late", ZipCopying::Manner::kLate},           {"invisible", ZipCopying::Manner::kInvisible},
      {"lingering", ZipCopying::Manner::kLingering}, {"endless", ZipCopying::Manner::kEndless}};
  ZipCopying copying;
  copying.manner = kManners.at(document.get("manner", "visible").asString());
  copying.milliseconds = document.get("milliseconds", 0).asUInt();
  copying.moduleCounted = document.get("moduleCounted", true).asBool();
  return copying;
}

/// \return 100 ns since 1601; nothing when there is no such day or time.
std::optional<std::uint64_t> ParseTime(const std::string& text) {
  using namespace std::chrono;
  int year = 0;
  unsigned month = 0, day = 0, hour = 0, minute = 0, second = 0, millisecond = 0;
  std::sscanf(text.c_str(), "%d-%u-%uT%u:%u:%u.%u", &year, &month, &day, &hour, &minute, &second,
              &millisecond);
  const year_month_day date{std::chrono::year(year), std::chrono::month(month),
                            std::chrono::day(day)};
  if (year < 1601 || !date.ok() || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  constexpr sys_days kBegin{std::chrono::year(1601) / January / 1};
  const milliseconds since = sys_days(date) - kBegin + hours(hour) + minutes(minute) +
                             seconds(second) + milliseconds(millisecond);
  return static_cast<std::uint64_t>(since.count()) * 10'000;
}

/// Throws std::invalid_argument for a start that is no time.
void ReadClock(const Json::Value& clock, Description& description) {
  description.clock.speed = clock.get("speed", 1.0).asDouble();
  if (!clock.isMember("startTime")) return;
  description.clock.startTime = ParseTime(clock["startTime"].asString());
  if (!description.clock.startTime) {
    throw std::invalid_argument("/clock/startTime: expected a day and time that exist");
  }
}

/// Throws std::invalid_argument for texts that are no addresses or names.
void ReadNetwork(const Json::Value& document, Description& description) {
  description.hostAdapters = document["adapters"].isString();
  if (!description.hostAdapters) description.adapters = ReadAdapters(document["adapters"]);
  description.nameService = ReadNameService(document["hosts"], document["dns"]);
  description.addressMap = AddressMap(document["addressMap"]);
}

Fault ReadFault(const Json::Value& entry) {
  Fault fault;
  fault.function = entry["function"].asString();
  fault.call = entry.get("call", 0).asUInt();
  fault.from = entry.get("from", 1).asUInt();
  fault.match = ToWide(entry.get("match", "").asString());
  fault.site = entry.get("site", "").asString();
  fault.error = entry["error"].asUInt();
  return fault;
}

/// "handles", "calls", or nothing at all.
CensusKind ReadCensus(const Json::Value& kind) {
  if (kind.isNull()) return CensusKind::kNone;
  return kind.asString() == "calls" ? CensusKind::kCalls : CensusKind::kHandles;
}

std::string ReadText(const std::filesystem::path& file) {
  const std::ifstream in(file, std::ios::binary);
  if (!in) throw MachineError(file.string() + ": can't be read");
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

Json::Value ParseJson(const std::string& text, const std::filesystem::path& file) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["collectComments"] = false;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value document;
  std::string errors;
  if (reader->parse(text.data(), text.data() + text.size(), &document, &errors)) return document;
  // "* Line 3, Column 5\n  Missing ..." over several lines.
  std::string line = errors.substr(0, errors.find_last_not_of('\n') + 1);
  for (std::size_t end = line.find('\n'); end != std::string::npos; end = line.find('\n')) {
    line.replace(end, 1, ";");
  }
  throw MachineError(file.string() + ": not a JSON document: " + line);
}

void TestBySchema(const Json::Value& document, const std::filesystem::path& file) {
  if (const auto fault = FindSchemaFault(document)) {
    throw MachineError(file.string() + ": " + *fault);
  }
}

/// \param document  One that the schema allows.
Description ReadValid(const Json::Value& document, const std::filesystem::path& file) {
  if (document.isMember("base")) {
    throw MachineError(file.string() +
                       ": /base: expected none in an instance; lab-machine start makes one");
  }
  Description description;
  ReadIdentity(document, description);
  ReadSoftware(document, description);
  for (const std::string& drive : document["disks"].getMemberNames()) {
    description.freeBytes[ToWide(drive).front()] = document["disks"][drive]["free"].asUInt64();
  }
  description.graceNeedsForceSelf = document["shutdown"].get("graceNeedsForceSelf", false).asBool();
  description.firewall = ReadFirewall(document["firewall"]);
  description.zipCopying = ReadZipCopying(document["zipCopying"]);
  try {
    ReadPorts(document["ports"], description);
    ReadNetwork(document, description);
    description.fileVersions = ReadFileVersions(document["fileVersions"]);
    description.folders = ReadFolders(document["folderRights"], document["folderAttributes"]);
    ReadClock(document["clock"], description);
  } catch (const std::invalid_argument& fault) {
    throw MachineError(file.string() + ": " + fault.what());
  }
  description.census = ReadCensus(document["census"]);
  for (const Json::Value& entry : document["faults"]) {
    description.faults.push_back(ReadFault(entry));
  }
  return description;
}

}  // namespace

bool Description::UserIsOf(std::wstring_view wanted) const {
  return wanted == userSid || std::ranges::any_of(groups, [&](const Group& group) {
           return group.sid == wanted && !group.denyOnly;
         });
}

bool Description::UserIsAdministrator() const { return UserIsOf(kAdministrators); }

Json::Value ReadJson(const std::filesystem::path& file) { return ParseJson(ReadText(file), file); }

Description ParseDescription(const Json::Value& document, const std::filesystem::path& file) {
  TestBySchema(document, file);
  return ReadValid(document, file);
}

Description ReadDescription(const std::filesystem::path& instance) {
  const std::filesystem::path file = instance / "machine.json";
  const std::string text = ReadText(file);
  const Json::Value document = ParseJson(text, file);
  if (const ValidMark mark(instance, text); !mark.Stands()) {
    TestBySchema(document, file);
    mark.Leave();
  }
  return ReadValid(document, file);
}

}  // namespace Lab
