#include "operation_commands.h"

namespace Hvctl {
namespace {

using Kind = Parameter::Kind;

constexpr Parameter kSshServer{"--ssh-server", "ssh_server", Kind::kText, true,
                               "Name or address of the machine to copy to"};
constexpr Parameter kSshFolder{"--ssh-folder", "ssh_folder", Kind::kText, true,
                               "Folder there, without a slash at its end"};
constexpr Parameter kSshUser{"--ssh-user", "ssh_user", Kind::kText, true, "Account there"};
constexpr Parameter kSshPassword{
    "--ssh-password-file",
    "ssh_password",
    Kind::kSecret,
    false,
    "File whose first line is the password there, - for standard input",
    "HVCTL_SSH_PASSWORD",
    "SSH password: "};
constexpr Parameter kSshThumbprint{
    .option = "--ssh-thumbprint",
    .member = "rsa",
    .kind = Kind::kText,
    .required = true,
    .help = "SHA-1 fingerprint of the RSA host key there: 20 pairs of digits joined by colons",
    .object = "ssh_thumbprint"};

const std::vector<OperationCommand> kCommands = {
    {"deployment-type",
     "get_source_deployment_type",
     "Tell what is installed on the old machine",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"prechecks",
     "invoke_pre_upgrade",
     "Run the prechecks and show their findings",
     "--host old.example --user administrator@ostrel.local --locale de",
     {}},
    {"cached-prechecks",
     "get_cached_pre_upgrade_result",
     "Show the findings of the last prechecks",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"directory-config",
     "collect_active_directory_config",
     "Collect the old machine's directory domain",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"network-config",
     "collect_network_config",
     "Collect the old machine's network settings",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"check-directory-account",
     "validate_active_directory_credentials",
     "Check an account of the directory domain",
     "--host old.example --user administrator@ostrel.local --ad-user maria",
     {{"--ad-user", "ad_username", Kind::kText, true, "The account, a plain name"},
      {"--ad-password-file", "ad_password", Kind::kSecret, false,
       "File whose first line is the account's password, - for standard input", "HVCTL_AD_PASSWORD",
       "Directory password: "}}},
    {"export",
     "invoke_export",
     "Start the export of data and configuration",
     "--host old.example --user administrator@ostrel.local --silent",
     {{"--options", "user_options", Kind::kJson, false,
       R"(Options of the export: JSON text or @FILE; {"keldb.migrateSet":"yes"} by default)"},
      {"--silent", "silent", Kind::kFlag, false, "Let the export ask no questions"}}},
    {"export-status",
     "poll_export_status",
     "Show how far the export is, null before it says anything",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"answer",
     "create_answer_file",
     "Answer a question of the export",
     R"(--host old.example --user administrator@ostrel.local --answer '{"reply":"yes"}')",
     {{"--answer", "answer", Kind::kJson, true, "The answer: JSON text or @FILE"}}},
    {"copy-export",
     "copy_export_data",
     "Copy the exported data to the new machine",
     "--host old.example --user administrator@ostrel.local --ssh-server new.example "
     "--ssh-folder /storage --ssh-user root --ssh-thumbprint AA:BB:...",
     {kSshServer,
      kSshFolder,
      kSshUser,
      kSshPassword,
      kSshThumbprint,
      {"--interactive", "interactive", Kind::kFlag, false,
       "Let the operator at the old machine make the zip"}}},
    {"copy-logs",
     "copy_logs_directory",
     "Copy the agent's logs to the new machine",
     "--host old.example --user administrator@ostrel.local --ssh-server new.example "
     "--ssh-folder /storage --ssh-user root --ssh-thumbprint AA:BB:...",
     {kSshServer, kSshFolder, kSshUser, kSshPassword, kSshThumbprint}},
    {"shutdown-machine",
     "shutdown_machine",
     "Shut the old machine down, after the export",
     "--host old.example --user administrator@ostrel.local",
     {}},
    {"shutdown-agent",
     "shutdown_hv",
     "End the agent of an update manager's migration",
     "--host old.example --user administrator@ostrel.local",
     {}},
};

constexpr Parameter kCommon[] = {
    {"--locale", "locale", Kind::kText, false,
     "Language of error texts: de, en (default), es, fr, ja, ko, zh_CN or zh_TW"},
    {"--user", "sso_username", Kind::kText, true, "Administrator of the old machine's server"},
    {"--password-file", "sso_password", Kind::kSecret, false,
     "File whose first line is the administrator's password, - for standard input",
     "HVCTL_PASSWORD", "Password: "},
};

}  // namespace

std::span<const OperationCommand> OperationCommands() { return kCommands; }

std::span<const Parameter> CommonParameters() { return kCommon; }

}  // namespace Hvctl
