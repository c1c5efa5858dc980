#include "process/command_interpreter.h"

#include <algorithm>
#include <optional>

#include "machine/call.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "process/command_line.h"
#include "process/host_program.h"

namespace Lab {
namespace {

constexpr std::wstring_view kRunFlags = L" /S /C ";

/// What the host's shell does with the name of the log, the folder of the lab's programs, and the
/// command.
constexpr char kRunScript[] =
    "PATH=$1:/usr/local/bin:/usr/bin:/bin; export PATH; log=$0; shift; exec \"$@\" >>\"$log\" 2>&1";
constexpr char kScriptMissing[] =
    "echo 'The system cannot find the path specified.' >>\"$0\"; exit 1";

/// A command with its output's file, which is taken out of the text.
struct Order {
  std::wstring text;
  std::wstring output;
};

std::wstring TakeWord(std::wstring_view text, std::size_t& at) {
  at = std::min(text.find_first_not_of(L' ', at), text.size());
  const bool quoted = at < text.size() && text[at] == L'"';
  const std::size_t begin = quoted ? at + 1 : at;
  const std::size_t end = std::min(text.find(quoted ? L'"' : L' ', begin), text.size());
  at = std::min(end + (quoted ? 1 : 0), text.size());
  return std::wstring(text.substr(begin, end - begin));
}

/// \return Nothing unless the command's two outputs are appended to one file.
std::optional<Order> TakeRedirection(std::wstring_view text) {
  constexpr std::wstring_view kErrors = L" 2>&1";
  Order order;
  bool quoted = false;
  bool takesErrors = false;
  for (std::size_t at = 0; at < text.size();) {
    if (text[at] == L'"') quoted = !quoted;
    if (!quoted && text.substr(at).starts_with(L">>")) {
      at += 2;
      order.output = TakeWord(text, at);
    } else if (!quoted && text.substr(at).starts_with(kErrors)) {
      at += kErrors.size();
      takesErrors = true;
    } else {
      order.text += text[at++];
    }
  }
  if (order.output.empty() || !takesErrors) return std::nullopt;
  return order;
}

/// \return What stands between the first quote behind the flags and the last.
std::optional<std::wstring_view> CommandIn(std::wstring_view rest) {
  if (!rest.starts_with(kRunFlags)) return std::nullopt;
  rest.remove_prefix(kRunFlags.size());
  const std::size_t last = rest.rfind(L'"');
  if (!rest.starts_with(L'"') || last == 0 || last + 1 != rest.size()) return std::nullopt;
  return rest.substr(1, last - 1);
}

}  // namespace

bool IsCommandInterpreter(const std::filesystem::path& program) {
  const std::wstring name = ToWide(program.filename().string());
  return EqualNoCase(name, L"cmd.exe") && !TheMachine().Describe().programs.contains(name);
}

std::vector<std::string> InterpreterCommand(std::wstring_view rest) {
  const std::optional<std::wstring_view> command = CommandIn(rest);
  if (!command) RefuseCall("CreateProcessW", "cmd.exe is run as /S /C \"...\"");
  const std::optional<Order> order = TakeRedirection(*command);
  if (!order) RefuseCall("CreateProcessW", "cmd.exe is run with >> FILE 2>&1");
  const std::string log = HostArgument(order->output);
  const FoundProgram script = FindProgram(order->text);
  if (script.error != 0) return {"/bin/sh", "-c", kScriptMissing, log};
  const std::vector<std::string> program = HostCommand(script.host);
  if (program.empty()) RefuseCall("CreateProcessW", "a script of cmd.exe begins with #!");
  std::vector<std::string> line = {"/bin/sh", "-c", kRunScript, log, LAB_PROGRAMS_FOLDER};
  line.insert(line.end(), program.begin(), program.end());
  for (const std::wstring& argument : SplitArguments(script.rest)) {
    line.push_back(HostArgument(argument));
  }
  return line;
}

}  // namespace Lab
