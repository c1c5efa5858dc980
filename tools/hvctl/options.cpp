#include "options.h"

#include <algorithm>
#include <chrono>

#include <CLI/CLI.hpp>

#include "exit_code.h"
#include "thumbprint.h"

namespace Hvctl {
namespace {

constexpr std::uint16_t kDefaultPort = 9123;

constexpr const char* kFooter = R"(Exit codes:
  0  the agent answered, and its reply doesn't say "fail"
  1  the reply says "fail"; its error text is on standard error
  2  the command line is wrong, or the input can't be read
  3  no connection, a cut one, or a time limit has passed
  4  the certificate isn't the expected one, or nobody confirmed it
  5  the agent answered with an API error, or with what isn't an answer

Examples:
  hvctl call get_source_deployment_type '{"locale":"en"}' --host old.example --thumbprint 9A:...
  hvctl call poll_export_status @input.json --host 192.0.2.20 --port 9124
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

void AddCall(CLI::App& app, Options& options, std::string& thumbprint, long& connect,
             long& answer) {
  CLI::App& call = *app.add_subcommand("call", "Invoke one operation and print its reply");
  AddAgentOptions(call, options);
  call.add_option("operation", options.operation,
                  "Name of the operation, such as poll_export_status")
      ->required();
  call.add_option("input", options.input,
                  "Input document: JSON text, @FILE, or - for standard input")
      ->default_val("{}");
  call.add_option("--thumbprint", thumbprint, "Expected SHA-1 thumbprint of the certificate")
      ->transform(CLI::Validator([](std::string& text) { return CheckThumbprint(text); }, ""));
  call.add_flag("--framed", options.framed, "Show progress reports as they come");
  call.add_flag("--raw", options.raw, "Print the answer's body as it came");
  call.add_option("--connect-timeout", connect, "Seconds for connecting, and for TLS")
      ->default_val(options.limits.connect.count())
      ->check(CLI::Range(1L, 86400L));
  call.add_option("--timeout", answer,
                  "Seconds that the agent may be silent; 0: as long as the operation takes")
      ->default_val(options.limits.answer.count())
      ->check(CLI::Range(0L, 86400L));
  call.callback([&options] { options.command = Options::Command::kCall; });
}

void AddForget(CLI::App& app, Options& options) {
  CLI::App& forget = *app.add_subcommand("forget", "Forget the confirmed certificate of an agent");
  AddAgentOptions(forget, options);
  forget.callback([&options] { options.command = Options::Command::kForget; });
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::string>& arguments, int& exitCode) {
  Options options;
  std::string thumbprint;
  long connect = 0;
  long answer = 0;
  CLI::App app("Client of the migration agent's API", "hvctl");
  app.footer(kFooter);
  app.require_subcommand(1);
  AddCall(app, options, thumbprint, connect, answer);
  AddForget(app, options);
  try {
    std::vector<std::string> reversed(arguments.rbegin(), arguments.rend());
    app.parse(reversed);
  } catch (const CLI::ParseError& error) {
    const bool help = app.exit(error) == 0;
    exitCode = static_cast<int>(help ? ExitCode::kSuccess : ExitCode::kUsage);
    return std::nullopt;
  }
  if (!thumbprint.empty()) options.thumbprint = thumbprint;
  options.limits = {std::chrono::seconds(connect), std::chrono::seconds(answer)};
  return options;
}

}  // namespace Hvctl
