#include "program_census.h"

#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <json/value.h>
#include <json/writer.h>

#include "com/com_object.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "process/host_thread.h"

namespace Lab {
namespace {

Json::Value ListOf(const std::vector<std::string>& texts) {
  Json::Value list(Json::arrayValue);
  for (const std::string& text : texts) list.append(text);
  return list;
}

Json::Value ListOf(const std::vector<CallCensus::Entry>& entries) {
  Json::Value list(Json::arrayValue);
  for (const CallCensus::Entry& entry : entries) {
    Json::Value call;
    call["function"] = entry.function;
    call["site"] = entry.site;
    call["calls"] = entry.calls;
    list.append(call);
  }
  return list;
}

}  // namespace

void WriteCensus() {
  Machine& machine = TheMachine();
  if (machine.Describe().census == CensusKind::kNone) return;
  Json::Value document;
  document["handles"] = ListOf(Handles().OpenTypes());
  document["objects"] = static_cast<Json::UInt64>(LiveComObjects());
  document["sockets"] = machine.SocketStartups().load();
  document["threads"] = static_cast<Json::UInt64>(OwnThreads().size());
  document["failures"] = machine.Faults().Failures();
  if (machine.Describe().census == CensusKind::kCalls) {
    document["calls"] = ListOf(machine.Calls().Entries());
  }
  std::ofstream file(machine.RunFolder() / ("census-" + std::to_string(getpid()) + ".json"));
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  file << Json::writeString(builder, document) << '\n';
}

}  // namespace Lab
