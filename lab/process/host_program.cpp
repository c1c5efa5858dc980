#include "process/host_program.h"

#include <fstream>
#include <sstream>

#include "machine/machine.h"
#include "machine/text.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// The interpreter of a script and its one argument, as "#!/usr/bin/env python3" names them.
std::vector<std::string> InterpreterIn(const std::string& firstLine) {
  std::istringstream words(firstLine.substr(2));
  std::vector<std::string> interpreter(1);
  words >> interpreter.front();
  std::string argument;
  if (std::getline(words >> std::ws, argument)) {
    argument.erase(argument.find_last_not_of(" \t\r") + 1);
    interpreter.push_back(argument);
  }
  return interpreter;
}

std::vector<std::string> CommandOfScript(const fs::path& program, const std::string& firstLine) {
  std::vector<std::string> command = InterpreterIn(firstLine);
  std::error_code ignored;
  if (!fs::exists(command.front(), ignored)) return {};
  command.push_back(program.string());
  return command;
}

}  // namespace

std::vector<std::string> HostCommand(const fs::path& program) {
  const auto& programs = TheMachine().Describe().programs;
  const auto mapped = programs.find(ToWide(program.filename().string()));
  if (mapped != programs.end()) return {mapped->second};

  std::string firstLine;
  std::getline(std::ifstream(program, std::ios::binary), firstLine);
  if (firstLine.starts_with("#!")) return CommandOfScript(program, firstLine);
  if (!firstLine.starts_with("\x7F"
                             "ELF"))
    return {};
  // Windows knows no such mark: what can be read can be run.
  std::error_code ignored;
  fs::permissions(program, fs::perms::owner_exec, fs::perm_options::add, ignored);
  return {program.string()};
}

}  // namespace Lab
