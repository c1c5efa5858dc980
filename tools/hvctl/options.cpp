#include "options.h"

#include <chrono>

#include <CLI/CLI.hpp>

#include "exit_code.h"
#include "migration_options.h"
#include "thumbprint.h"

namespace Hvctl {
namespace {

constexpr const char* kFooter = R"(Exit codes:
  0  the agent answered, and its reply doesn't say "fail"
  1  the reply says "fail", or a number instead; its error text is on standard error
  2  the command line is wrong, or the input can't be read
  3  no connection, a cut one, or a time limit has passed
  4  the certificate isn't the expected one, or nobody confirmed it
  5  the agent answered with an API error, or with what isn't an answer

`hvctl migrate` has some more, see its help.

Examples:
  hvctl migrate --settings migration.json
  hvctl deployment-type --host old.example --user administrator@ostrel.local
  hvctl export-status --host 192.0.2.20 --port 9124 --user admin@corp.example --password-file pw
  hvctl call poll_export_status @input.json --host old.example --thumbprint 9A:...
  hvctl forget --host old.example

The thumbprint stands on the agent's console. Without --thumbprint hvctl shows the certificate's,
asks at a terminal whether it is right, and remembers the answer.)";

/// Refuses a thumbprint that isn't one, and brings any other into the agent's form.
std::string CheckThumbprint(std::string& text) {
  const std::optional<std::string> normal = NormalizeThumbprint(text);
  if (!normal) return "A thumbprint has 40 hexadecimal digits, with or without colons";
  text = *normal;
  return {};
}

void AddAgentOptions(CLI::App& command, Options& options) {
  command.add_option("--host", options.agent.host, "Name or address of the old machine")
      ->required();
  command.add_option("--port", options.agent.port, "Port of the agent")
      ->default_val(kDefaultPort)
      ->check(CLI::Range(1, 65535));
}

/// What CLI11 writes to, before it is in the form of Options.
struct Parsed {
  Options options;
  std::string thumbprint;
  long connect = 0;
  long answer = 0;
};

void AddConnectionOptions(CLI::App& command, Parsed& parsed) {
  const Options& options = parsed.options;
  command
      .add_option("--thumbprint", parsed.thumbprint, "Expected SHA-1 thumbprint of the certificate")
      ->transform(CLI::Validator([](std::string& text) { return CheckThumbprint(text); }, ""));
  command.add_option("--connect-timeout", parsed.connect, "Seconds for connecting, and for TLS")
      ->default_val(options.limits.connect.count())
      ->check(CLI::Range(1L, 86400L));
  command
      .add_option("--timeout", parsed.answer,
                  "Seconds that the agent may be silent; 0: as long as the operation takes")
      ->default_val(options.limits.answer.count())
      ->check(CLI::Range(0L, 86400L));
}

void AddCallOptions(CLI::App& command, Parsed& parsed) {
  AddAgentOptions(command, parsed.options);
  AddConnectionOptions(command, parsed);
  command.add_flag("--framed", parsed.options.framed, "Show progress reports as they come");
  command.add_flag("--raw", parsed.options.raw, "Print the answer's body as it came");
}

void AddCall(CLI::App& app, Parsed& parsed) {
  CLI::App& call = *app.add_subcommand("call", "Invoke an operation with an input document");
  AddCallOptions(call, parsed);
  call.add_option("operation", parsed.options.operation,
                  "Name of the operation, such as poll_export_status")
      ->required();
  call.add_option("input", parsed.options.input,
                  "Input document: JSON text, @FILE, or - for standard input")
      ->default_val("{}");
  call.callback([&parsed] { parsed.options.command = Options::Command::kCall; });
}

void AddOperation(CLI::App& app, const OperationCommand& operation, Parsed& parsed) {
  CLI::App& command = *app.add_subcommand(operation.name, operation.help);
  command.footer(std::string("Example:\n  hvctl ") + operation.name + " " + operation.example);
  for (const Parameter& parameter : CommonParameters()) {
    AddParameter(command, parameter, parameter.required, parsed.options.given);
  }
  for (const Parameter& parameter : operation.parameters) {
    AddParameter(command, parameter, parameter.required, parsed.options.given);
  }
  AddCallOptions(command, parsed);
  command.add_flag("--json", parsed.options.json, "Print the reply's document as it stands");
  command.callback([&parsed, &operation] {
    parsed.options.command = Options::Command::kOperation;
    parsed.options.operation = operation.operation;
    parsed.options.operationCommand = &operation;
  });
}

void AddMigrate(CLI::App& app, Parsed& parsed) {
  Options& options = parsed.options;
  CLI::App& command = *app.add_subcommand("migrate", "Carry out a whole migration");
  command.add_option("--host", options.agent.host, "Name or address of the old machine");
  command
      .add_option("--port", options.agent.port,
                  "Port of the agent; " + std::to_string(kDefaultPort))
      ->check(CLI::Range(1, 65535));
  AddConnectionOptions(command, parsed);
  AddMigrationOptions(command, options.migration);
  command.callback([&options, &command] {
    options.command = Options::Command::kMigrate;
    // The other commands' default is in it.
    if (command.count("--port") == 0) options.agent.port = 0;
  });
}

void AddForget(CLI::App& app, Options& options) {
  CLI::App& forget = *app.add_subcommand("forget", "Forget the confirmed certificate of an agent");
  AddAgentOptions(forget, options);
  forget.callback([&options] { options.command = Options::Command::kForget; });
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, int& exitCode) {
  Parsed parsed;
  CLI::App app("Client of the migration agent's API", "hvctl");
  app.footer(kFooter);
  app.require_subcommand(1);
  AddMigrate(app, parsed);
  for (const OperationCommand& operation : OperationCommands()) {
    AddOperation(app, operation, parsed);
  }
  AddCall(app, parsed);
  AddForget(app, parsed.options);
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    const bool help = app.exit(error) == 0;
    exitCode = static_cast<int>(help ? ExitCode::kSuccess : ExitCode::kUsage);
    return std::nullopt;
  }
  Options& options = parsed.options;
  if (!parsed.thumbprint.empty()) options.thumbprint = parsed.thumbprint;
  options.limits = {std::chrono::seconds(parsed.connect), std::chrono::seconds(parsed.answer)};
  return options;
}

}  // namespace Hvctl
