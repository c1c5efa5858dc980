#include "secrets.h"

#include <filesystem>
#include <fstream>

#include "failure.h"
#include "host.h"

namespace Hvctl {
namespace {

std::string FirstLine(std::istream& stream) {
  std::string line;
  std::getline(stream, line);
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

std::string ReadSecretFile(const std::string& name) {
  std::ifstream file(std::filesystem::path(std::u8string(name.begin(), name.end())),
                     std::ios::binary);
  if (!file) throw Failure(ExitCode::kUsage, "The password file can't be read: " + name);
  return FirstLine(file);
}

}  // namespace

std::string GetSecret(const Parameter& parameter, const std::string& file, std::istream& input,
                      bool interactive) {
  if (file == "-") return FirstLine(input);
  if (!file.empty()) return ReadSecretFile(file);
  if (const auto value = EnvironmentVariable(parameter.variable)) return *value;
  if (interactive) return AskHidden(parameter.prompt);
  throw Failure(ExitCode::kUsage, std::string("No password: give ") + parameter.option +
                                      " or set " + parameter.variable + ".");
}

}  // namespace Hvctl
