#include "migrate_command.h"

#include <filesystem>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

#include "failure.h"
#include "host.h"
#include "known_agents.h"
#include "migration.h"
#include "migration_view.h"
#include "operation_inputs.h"
#include "remote_agent.h"
#include "secrets.h"
#include "trust.h"

namespace Hvctl {
namespace {

/// Beside the list of confirmed certificates: those of the agents on which an export was begun.
KnownAgents BegunExports() {
  std::filesystem::path file = KnownAgentsFile();
  file += "-exporting";
  return KnownAgents(file);
}

BegunExport BegunOn(const RemoteAgent& agent, const std::string& name) {
  // A certificate belongs to one run of the agent.
  return {[&agent, name] { return BegunExports().Find(name) == agent.Thumbprint(); },
          [&agent, name](bool begun) {
            if (begun) {
              BegunExports().Remember(name, agent.Thumbprint());
            } else {
              (void)BegunExports().Forget(name);
            }
          }};
}

/// Takes the settings file in, and sees that nothing is missing.
void Complete(Options& options) {
  ReadSettingsFile(options.migration, options.agent, options.thumbprint);
  if (options.agent.port == 0) options.agent.port = kDefaultPort;
  if (options.agent.host.empty()) {
    throw Failure(ExitCode::kUsage,
                  "--host is missing: name or address of the old machine. Give it, or \"host\" in "
                  "the settings file.");
  }
  CheckGiven(options.migration.given, {"copy-export"});
  if (options.migration.progress != ProgressForm::kAuto) return;
  options.migration.progress = ShowsAtTerminal() ? ProgressForm::kBar : ProgressForm::kLines;
}

std::optional<std::string> AskPerson(const std::string& prompt) {
  if (!IsInteractive()) return std::nullopt;
  std::cerr << prompt << std::flush;
  std::string line;
  if (!std::getline(std::cin, line)) return std::nullopt;
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

}  // namespace

ExitCode Migrate(Options options) {
  Complete(options);
  OperationInputs inputs(options.migration.given,
                         [](const Parameter& parameter, const std::string& file) {
                           return GetSecret(parameter, file, std::cin, IsInteractive());
                         });
  inputs.AskFor({"copy-export"});
  const KnownAgents known(KnownAgentsFile());
  RemoteAgent agent(options.agent, options.limits,
                    MakeTrustCheck(options.agent, options.thumbprint, known, IsInteractive()));
  const BegunExport begun = BegunOn(agent, options.agent.Text());
  const Ask ask = AskPerson;
  const Pause pause = [](std::chrono::milliseconds time) { std::this_thread::sleep_for(time); };
  const auto view = MakeMigrationView(options.migration.progress, std::cout);
  Migration({agent, inputs, options.migration, begun, ask, pause, *view}).Run();
  return ExitCode::kSuccess;
}

}  // namespace Hvctl
