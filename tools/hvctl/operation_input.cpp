#include "operation_input.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include <json/json.h>

#include "api_message.h"
#include "failure.h"

namespace Hvctl {
namespace {

Json::Value& MemberOf(Json::Value& document, const Parameter& parameter) {
  Json::Value& holder = parameter.object == nullptr ? document : document[parameter.object];
  return holder[parameter.member];
}

Json::Value ParseOption(const Parameter& parameter, const std::string& given) {
  Json::Value value;
  if (const std::string problem = ParseJson(TextOrFile(given), value); !problem.empty()) {
    throw Failure(ExitCode::kUsage, std::string(parameter.option) + " isn't JSON text. " + problem);
  }
  return value;
}

void AddMember(const Parameter& parameter, const GivenOptions& given, const SecretSource& secrets,
               Json::Value& input) {
  const auto found = given.find(parameter.option);
  const bool isGiven = found != given.end();
  switch (parameter.kind) {
    case Parameter::Kind::kSecret:
      MemberOf(input, parameter) = secrets(parameter, isGiven ? found->second : std::string());
      return;
    case Parameter::Kind::kText:
      if (isGiven) MemberOf(input, parameter) = found->second;
      return;
    case Parameter::Kind::kFlag:
      if (isGiven) MemberOf(input, parameter) = true;
      return;
    case Parameter::Kind::kJson:
      if (isGiven) MemberOf(input, parameter) = ParseOption(parameter, found->second);
      return;
  }
}

}  // namespace

std::string BuildInput(const OperationCommand& command, const GivenOptions& given,
                       const SecretSource& secrets) {
  Json::Value input(Json::objectValue);
  for (const Parameter& parameter : CommonParameters()) {
    AddMember(parameter, given, secrets, input);
  }
  for (const Parameter& parameter : command.parameters) {
    AddMember(parameter, given, secrets, input);
  }
  return WriteJson(input);
}

std::string TextOrFile(const std::string& text) {
  if (!text.starts_with('@')) return text;
  const std::string name = text.substr(1);
  std::ifstream file(std::filesystem::path(std::u8string(name.begin(), name.end())),
                     std::ios::binary);
  if (!file) throw Failure(ExitCode::kUsage, "The input file can't be read: " + name);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace Hvctl
