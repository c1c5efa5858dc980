#include "migration_options.h"

#include <map>

#include "operation_inputs.h"

namespace Hvctl {
namespace {

constexpr const char* kMigrationFooter =
    R"(Goes from the prechecks over the export to the end of the old machine. Interrupted or failed, it is run
again with the same options, and goes on where the export is. Errors of the prechecks end it before
the export, questions of the export are asked unless they are answered by --answer, and the old
machine is shut down after a yes, or with --shutdown.

The settings file is a JSON object whose members have the names of the options, without dashes:
  {"host": "old.example", "port": 9123, "user": "administrator@ostrel.local",
   "ssh-server": "new.example", "ssh-folder": "/storage", "ssh-user": "root",
   "ssh-thumbprint": "AA:BB:...", "password-file": "pw", "ssh-password-file": "ssh-pw",
   "silent": false, "answers": {"keep-history": "yes"}, "shutdown": true}
What the command line says comes before what the file says.

Exit codes beside those of `hvctl --help`:
  6  the prechecks have found errors
  7  the export has failed, or says nothing
  8  the export or the logs haven't arrived
  9  the export waits for an answer that nobody has given

Example:
  hvctl migrate --host old.example --user administrator@ostrel.local --ssh-server new.example \
    --ssh-folder /storage --ssh-user root --ssh-thumbprint AA:BB:...)";

const std::map<std::string, ProgressForm> kForms = {{"auto", ProgressForm::kAuto},
                                                    {"bar", ProgressForm::kBar},
                                                    {"lines", ProgressForm::kLines},
                                                    {"json", ProgressForm::kJson}};

void AddAnswers(CLI::App& command, MigrationSettings& settings) {
  command
      .add_option_function<std::vector<std::string>>(
          "--answer",
          [&settings](const std::vector<std::string>& answers) {
            for (const std::string& answer : answers) {
              const std::string problem = AddAnswer(answer, settings.answers);
              if (!problem.empty()) throw CLI::ValidationError("--answer", problem);
            }
          },
          "ID=VALUE: the answer to a question of the export, as JSON or as text; several")
      ->allow_extra_args(false);
}

}  // namespace

void AddMigrationOptions(CLI::App& command, MigrationSettings& settings) {
  command.footer(kMigrationFooter);
  command.add_option("--settings", settings.file, "File with settings, see below");
  for (const Parameter& parameter : CommonParameters()) {
    AddParameter(command, parameter, false, settings.given);
  }
  for (const char* name : {"copy-export", "export"}) {
    for (const Parameter& parameter : CommandNamed(name).parameters) {
      AddParameter(command, parameter, false, settings.given);
    }
  }
  command.add_option("--arrived-at", settings.arrivedAt,
                     "Where this computer sees the folder that is copied to, to look whether the "
                     "files are whole there");
  AddAnswers(command, settings);
  command.add_option("--progress", settings.progress, "auto (default), bar, lines or json")
      ->transform(CLI::CheckedTransformer(kForms).description(""));
  command.add_flag("--again", settings.again, "Export anew what has been exported already");
  command.add_flag("--shutdown", settings.shutDown, "Shut the old machine down without asking");
  command.add_flag("--force", settings.force,
                   "With --shutdown: after a failed export or copy as well");
}

void AddParameter(CLI::App& command, const Parameter& parameter, bool required,
                  GivenOptions& given) {
  std::string help = parameter.help;
  if (parameter.kind == Parameter::Kind::kSecret) {
    help += std::string(" [or the variable ") + parameter.variable + ", or the terminal]";
  }
  const auto keep = [&given, &parameter](const std::string& text) {
    given[parameter.option] = text;
  };
  if (parameter.kind == Parameter::Kind::kFlag) {
    command.add_flag_callback(
        parameter.option, [keep] { keep({}); }, help);
    return;
  }
  command.add_option_function<std::string>(parameter.option, keep, help)->required(required);
}

}  // namespace Hvctl
