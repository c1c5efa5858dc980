#include <iostream>
#include <iterator>

#include "agent_connection.h"
#include "api_message.h"
#include "failure.h"
#include "frame_reader.h"
#include "host.h"
#include "known_agents.h"
#include "migrate_command.h"
#include "operation_input.h"
#include "options.h"
#include "reply_view.h"
#include "secrets.h"
#include "trust.h"

namespace Hvctl {
namespace {

std::string ReadAll(std::istream& stream) {
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The input document that the command line names.
std::string ReadInput(const std::string& input) {
  std::string text = input == "-" ? ReadAll(std::cin) : TextOrFile(input);
  if (const std::string problem = InputProblem(text); !problem.empty()) {
    throw Failure(ExitCode::kUsage, "The input isn't a JSON document. " + problem);
  }
  return text;
}

std::string InputOf(const Options& options) {
  if (options.command == Options::Command::kCall) return ReadInput(options.input);
  return BuildInput(*options.operationCommand, options.given,
                    [](const Parameter& parameter, const std::string& file) {
                      return GetSecret(parameter, file, std::cin, IsInteractive());
                    });
}

ReplyView ViewOf(const Options& options, const std::string& reply) {
  const bool isForPersons = options.command == Options::Command::kOperation && !options.json;
  return isForPersons ? ViewReply(options.operation, reply) : ReplyView{reply, {}};
}

/// Shows one answer to the person: the reply on standard output, everything else on standard error.
ExitCode Show(const Options& options, const std::string& response) {
  const Answer answer = ReadAnswer(response);
  switch (answer.kind) {
    case Answer::Kind::kProgress:
      std::cerr << answer.text << '\n' << std::flush;
      return ExitCode::kSuccess;
    case Answer::Kind::kError:
      throw Failure(ExitCode::kApiError, answer.text);
    case Answer::Kind::kReply:
      break;
  }
  const ReplyView view = ViewOf(options, answer.text);
  std::cout << view.output;
  if (!view.output.ends_with('\n')) std::cout << '\n';
  if (!view.note.empty()) std::cerr << view.note << '\n';
  const std::string refusal = RefusalOf(answer.text);
  if (!refusal.empty()) std::cerr << refusal << '\n';
  return refusal.empty() ? ExitCode::kSuccess : ExitCode::kRefused;
}

ExitCode PostFramed(AgentConnection& connection, const Options& options,
                    const std::string& request) {
  bool answered = false;
  ExitCode code = ExitCode::kSuccess;
  FrameReader frames([&](const std::string& frame) {
    answered = true;
    code = Show(options, frame);
  });
  connection.Post(request, true, [&](std::string_view piece) { frames.Append(piece); });
  if (!answered || !frames.AtBoundary()) {
    throw Failure(ExitCode::kApiError, "The agent's answer ended before its last frame.");
  }
  return code;
}

ExitCode PostPlain(AgentConnection& connection, const Options& options,
                   const std::string& request) {
  std::string response;
  connection.Post(request, false, [&](std::string_view piece) { response += piece; });
  return Show(options, response);
}

ExitCode PostRaw(AgentConnection& connection, const std::string& request, bool framed) {
  connection.Post(request, framed,
                  [](std::string_view piece) { std::cout << piece << std::flush; });
  return ExitCode::kSuccess;
}

ExitCode Call(const Options& options) {
  const std::string request = MakeRequest(options.operation, InputOf(options));
  const KnownAgents known(KnownAgentsFile());
  AgentConnection connection(
      options.agent, options.limits,
      MakeTrustCheck(options.agent, options.thumbprint, known, IsInteractive()));
  if (options.raw) return PostRaw(connection, request, options.framed);
  return options.framed ? PostFramed(connection, options, request)
                        : PostPlain(connection, options, request);
}

ExitCode Forget(const Options& options) {
  const KnownAgents known(KnownAgentsFile());
  if (known.Forget(options.agent.Text())) return ExitCode::kSuccess;
  throw Failure(ExitCode::kUsage,
                options.agent.Text() + " isn't in " + known.File().string() + ".");
}

ExitCode Run(const Options& options) {
  try {
    if (options.command == Options::Command::kMigrate) return Migrate(options);
    return options.command == Options::Command::kForget ? Forget(options) : Call(options);
  } catch (const Failure& failure) {
    std::cout << std::flush;
    std::cerr << "hvctl: " << failure.what() << '\n';
    return failure.Code();
  }
}

}  // namespace
}  // namespace Hvctl

int main(int argc, char** argv) {
  Hvctl::PrepareConsole();
  int exitCode = 0;
  const auto options = Hvctl::ParseOptions(Hvctl::Arguments(argc, argv), exitCode);
  return options ? static_cast<int>(Hvctl::Run(*options)) : exitCode;
}
