// A whole migration, as the appliance's installer drives it.
#pragma once

#include <functional>
#include <string>

#include "exit_code.h"
#include "export_run.h"
#include "migration_settings.h"
#include "migration_view.h"
#include "operation_inputs.h"
#include "remote_agent.h"

namespace Hvctl {

/// Whether an export was begun on the agent at hand, in this run of it. The agent's own answer
/// doesn't tell: its last export's document outlives it. Throws Failure (kUsage) when it can't be
/// kept.
struct BegunExport {
  std::function<bool()> isBegun;
  std::function<void(bool begun)> keep;
};

class Migration {
 public:
  /// What a migration works with. All of it has to outlive the migration.
  struct Parts {
    Agent& agent;
    OperationInputs& inputs;
    const MigrationSettings& settings;
    const BegunExport& begun;
    const Ask& ask;
    const Pause& pause;
    MigrationView& view;
  };

  explicit Migration(const Parts& parts)
      : parts_(parts),
        export_(parts.agent, parts.inputs, parts.settings.answers, parts.ask, parts.pause,
                parts.view) {}

  /// Goes from the agent's type to the end of the old machine. A migration that was interrupted
  /// goes on where its export is.
  /// Throws Failure with the cause and the way out; the exit code tells the step.
  void Run();

 private:
  Json::Value Invoke(const char* command);
  Json::Value InvokeOrThrow(const char* command, const std::string& what, ExitCode code);
  void TellType();
  void BringDataOver();
  void ExportAll();
  void CheckOldMachine();
  void RunPrechecks();
  void CollectNetwork();
  void CollectDomain();
  void Export(bool runs);
  void Copy(const char* command, const char* name, const char* file, const char* wayOut);
  void CheckArrival(const char* file, const char* wayOut) const;
  void EndOldMachine();
  bool ShallEnd() const;
  bool IsUpdateManager() const { return type_ == "tum"; }

  const Parts parts_;
  ExportRun export_;
  std::string type_;
};

}  // namespace Hvctl
