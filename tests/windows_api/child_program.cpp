#include "child_program.h"

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

namespace WindowsApi {
namespace {

namespace fs = std::filesystem;

std::string Utf8(const fs::path& text) {
  const std::u8string bytes = text.u8string();
  return {bytes.begin(), bytes.end()};
}

void WriteComplete(const fs::path& file, const std::string& text) {
  fs::path unfinished = file;
  unfinished += L".part";
  std::ofstream(unfinished, std::ios::binary) << text;
  fs::rename(unfinished, file);
}

[[noreturn]] void Hold(const fs::path& file) {
  WriteComplete(file, std::to_string(OwnProcessId()));
  for (;;) std::this_thread::sleep_for(std::chrono::hours(1));
}

void GrowTree(const Arguments& arguments) {
  StartDetached({arguments[0], L"hold", arguments[3]});
  while (!fs::exists(arguments[3])) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  WriteComplete(arguments[2], std::to_string(OwnProcessId()));
}

void Report(const Arguments& arguments) {
  std::string text;
  for (const fs::path& argument : arguments) text += Utf8(argument) + "\n";
  text += "folder=" + Utf8(fs::current_path()) + "\n";
  for (const std::string& variable : OwnVariables()) text += "variable " + variable + "\n";
  WriteComplete(arguments[2], text);
}

}  // namespace

int RunChild(const Arguments& arguments) {
  const fs::path order = arguments.at(1);
  if (order == L"exit") {
    return ExitCodeFor(static_cast<std::uint32_t>(std::stoul(arguments.at(2).string())));
  }
  if (order == L"hold") Hold(arguments.at(2));
  if (order == L"tree") GrowTree(arguments);
  if (order == L"report") Report(arguments);
  return 0;
}

}  // namespace WindowsApi
