#include "migration.h"

#include <filesystem>

#include "api_message.h"
#include "failure.h"
#include "findings.h"
#include "json_path.h"
#include "reply_view.h"
#include "zip_ends.h"

namespace Hvctl {
namespace {

std::string TextIn(const Json::Value& reply, const char* member) {
  return TextOf(Find(reply, {member}));
}

/// The text with its label, or nothing without a text.
std::string Labelled(const char* label, const std::string& text) {
  return text.empty() ? std::string() : std::string(label) + text + "\n";
}

std::string AddressOf(const Json::Value& network, const char* version) {
  const std::string address = TextIn(network, (std::string("config_ipaddr") + version).c_str());
  const Json::Value* prefix = Find(network, {(std::string("config_prefix") + version).c_str()});
  if (address.empty() || prefix == nullptr || !prefix->isIntegral()) return address;
  return address + "/" + prefix->asString();
}

std::string NetworkText(const Json::Value& network) {
  std::string text = Labelled("Name:         ", TextIn(network, "config_fqdn"));
  for (const char* version : {"4", "6"}) {
    const auto member = [&](const char* name) {
      return TextIn(network, (std::string(name) + version).c_str());
    };
    text += Labelled("Address:      ", AddressOf(network, version));
    text += Labelled("Gateway:      ", member("config_gateway"));
    text += Labelled("DNS servers:  ", member("config_dns_servers"));
  }
  return text + Labelled("Time servers: ", TextIn(network, "config_ntp_servers"));
}

}  // namespace

void Migration::Run() {
  TellType();
  try {
    BringDataOver();
  } catch (const Failure& failure) {
    const bool isLost =
        failure.Code() == ExitCode::kExportFailed || failure.Code() == ExitCode::kCopyFailed;
    if (isLost && parts_.settings.force && parts_.settings.shutDown) {
      parts_.view.Tell(failure.what());
      EndOldMachine();
    }
    throw;
  }
  EndOldMachine();
}

void Migration::BringDataOver() {
  ExportAll();
  Copy(
      "copy-export", "Copying the export", "export.zip",
      "Look at the old machine's log for the reason, and at server, account, thumbprint and room of "
      "the new one. Run the same command again; it goes on with the copy.");
  Copy("copy-logs", "Copying the logs", "logs.zip",
       "The export has arrived. Run the same command again; it goes on with the copy.");
}

Json::Value Migration::Invoke(const char* command) {
  const OperationCommand& named = CommandNamed(command);
  return parts_.agent.Invoke(named.operation, parts_.inputs.Of(named));
}

Json::Value Migration::InvokeOrThrow(const char* command, const std::string& what, ExitCode code) {
  Json::Value reply = Invoke(command);
  const std::string refusal = RefusalIn(reply);
  if (!refusal.empty()) throw Failure(code, what + ": " + refusal);
  return reply;
}

void Migration::TellType() {
  parts_.view.BeginStep("deployment-type", "What is installed");
  const Json::Value reply = InvokeOrThrow(
      "deployment-type", "The agent doesn't tell what is installed", ExitCode::kRefused);
  type_ = TextIn(reply, "deployment_type");
  parts_.view.Tell(Labelled("Type:         ", type_) +
                   Labelled("Version:      ", TextIn(reply, "deployment_ver")) +
                   Labelled("Size:         ", TextIn(reply, "deployment_size")) +
                   Labelled("New version:  ", TextIn(reply, "hv_kvsa_version")));
  parts_.view.EndStep();
}

void Migration::ExportAll() {
  const bool begun = !parts_.settings.again && parts_.begun.isBegun();
  const Json::Value told = begun ? export_.Poll() : Json::Value();
  const std::string outcome = OutcomeOf(told);
  if (outcome == "success") {
    parts_.view.Tell("The export has been made already. --again makes it anew.");
    return;
  }
  const bool runs = begun && outcome.empty();
  if (!runs) CheckOldMachine();
  Export(runs);
}

void Migration::CheckOldMachine() {
  RunPrechecks();
  if (IsUpdateManager()) return;
  CollectNetwork();
  CollectDomain();
}

void Migration::RunPrechecks() {
  parts_.view.BeginStep("prechecks", "Prechecks");
  const Json::Value reply =
      InvokeOrThrow("prechecks", "The prechecks can't be run", ExitCode::kRefused);
  parts_.view.Tell(ViewReply(CommandNamed("prechecks").operation, WriteJson(reply)).output);
  const Json::Value* components = Find(reply, {"componentRequirements"});
  if (components != nullptr && ErrorsAmong(*components) > 0) {
    throw Failure(ExitCode::kPrechecksFailed,
                  "The prechecks have found errors. Do what they say on the old machine, and run "
                  "the same command again.");
  }
  parts_.view.EndStep();
}

void Migration::CollectNetwork() {
  parts_.view.BeginStep("network-config", "Network of the old machine");
  const Json::Value reply =
      InvokeOrThrow("network-config", "The network can't be collected", ExitCode::kRefused);
  parts_.view.Tell(NetworkText(reply));
  parts_.view.EndStep();
}

void Migration::CollectDomain() {
  parts_.view.BeginStep("directory-config", "Directory domain of the old machine");
  const Json::Value reply = InvokeOrThrow(
      "directory-config", "The directory domain can't be collected", ExitCode::kRefused);
  const std::string domain = TextIn(reply, "ad_domain_name");
  parts_.view.Tell(domain.empty() ? "It is in no domain."
                                  : Labelled("Domain:       ", domain) +
                                        Labelled("Controller:   ", TextIn(reply, "adDcName")));
  parts_.view.EndStep();
}

void Migration::Export(bool runs) {
  parts_.view.BeginStep("export", runs ? "Export, which runs already" : "Export");
  if (!runs) {
    export_.Start();
    parts_.begun.keep(true);
  }
  try {
    (void)export_.Follow();
  } catch (const Failure& failure) {
    if (failure.Code() == ExitCode::kExportFailed) parts_.begun.keep(false);
    throw;
  }
  parts_.view.EndStep();
}

void Migration::Copy(const char* command, const char* name, const char* file, const char* wayOut) {
  parts_.view.BeginStep(command, name);
  const Json::Value reply = Invoke(command);
  const std::string refusal = RefusalIn(reply);
  if (!refusal.empty()) throw Failure(ExitCode::kCopyFailed, refusal + "\n" + wayOut);
  CheckArrival(file, wayOut);
  const GivenOptions& given = parts_.settings.given;
  parts_.view.Tell("Arrived: " + given.at("--ssh-server") + ":" + given.at("--ssh-folder") + "/" +
                   file);
  parts_.view.EndStep();
}

// The agent doesn't learn of it when the new machine has no room.
void Migration::CheckArrival(const char* file, const char* wayOut) const {
  const std::string& folder = parts_.settings.arrivedAt;
  if (folder.empty()) return;
  const std::filesystem::path place(std::u8string(folder.begin(), folder.end()));
  const std::string problem = ZipProblem(place / file);
  if (problem.empty()) return;
  throw Failure(ExitCode::kCopyFailed,
                std::string(file) + " hasn't arrived: " + problem + ".\n" + wayOut);
}

void Migration::EndOldMachine() {
  const char* const command = IsUpdateManager() ? "shutdown-agent" : "shutdown-machine";
  parts_.view.BeginStep(command, "End of the old machine");
  if (!ShallEnd()) {
    parts_.view.Tell(std::string("The old machine goes on running. To end it: hvctl ") + command);
    parts_.view.EndStep();
    return;
  }
  InvokeOrThrow(command, "The old machine doesn't shut down", ExitCode::kRefused);
  parts_.begun.keep(false);
  parts_.view.Tell(IsUpdateManager() ? "The agent ends." : "The old machine shuts down.");
  parts_.view.EndStep();
}

bool Migration::ShallEnd() const {
  if (parts_.settings.shutDown) return true;
  return parts_.ask(IsUpdateManager() ? "End the agent now? (yes/no): "
                                      : "Shut the old machine down now? (yes/no): ") == "yes";
}

}  // namespace Hvctl
