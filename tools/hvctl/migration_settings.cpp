#include "migration_settings.h"

#include "api_message.h"
#include "failure.h"
#include "thumbprint.h"

namespace Hvctl {
namespace {

constexpr const char* kCommands[] = {"export", "copy-export"};

/// The parameter that a member of the file stands for; null for none.
const Parameter* ParameterOf(const std::string& member) {
  const auto stands = [&](const Parameter& parameter) { return parameter.option == "--" + member; };
  for (const Parameter& parameter : CommonParameters()) {
    if (stands(parameter)) return &parameter;
  }
  for (const OperationCommand& command : OperationCommands()) {
    for (const char* name : kCommands) {
      if (std::string(command.name) != name) continue;
      for (const Parameter& parameter : command.parameters) {
        if (stands(parameter)) return &parameter;
      }
    }
  }
  return nullptr;
}

/// The file's members, one after the other.
class SettingsFile {
 public:
  SettingsFile(MigrationSettings& settings, Endpoint& agent, std::optional<std::string>& thumbprint)
      : settings_(settings), agent_(agent), thumbprint_(thumbprint) {}

  void Read() {
    Json::Value document;
    const std::string problem = ParseJson(TextOrFile("@" + settings_.file), document);
    if (!problem.empty()) Fail("isn't JSON. " + problem);
    if (!document.isObject()) Fail("has to hold a JSON object.");
    for (const std::string& name : document.getMemberNames()) Take(name, document[name]);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const {
    throw Failure(ExitCode::kUsage, "The settings file " + settings_.file + " " + what);
  }

  std::string Text(const std::string& name, const Json::Value& value) const {
    if (!value.isString()) Fail("has something else than a text for \"" + name + "\".");
    return value.asString();
  }
  bool Flag(const std::string& name, const Json::Value& value) const {
    if (!value.isBool()) Fail("has neither true nor false for \"" + name + "\".");
    return value.asBool();
  }

  void Take(const std::string& name, const Json::Value& value) {
    if (name == "host") {
      if (agent_.host.empty()) agent_.host = Text(name, value);
    } else if (name == "port") {
      TakePort(value);
    } else if (name == "thumbprint") {
      TakeThumbprint(Text(name, value));
    } else if (name == "answers") {
      TakeAnswers(value);
    } else if (name == "arrived-at") {
      if (settings_.arrivedAt.empty()) settings_.arrivedAt = Text(name, value);
    } else if (name == "shutdown") {
      settings_.shutDown |= Flag(name, value);
    } else {
      TakeParameter(name, value);
    }
  }

  void TakePort(const Json::Value& value) {
    if (!value.isUInt() || value.asUInt() < 1 || value.asUInt() > 65535) {
      Fail("has no number from 1 to 65535 for \"port\".");
    }
    if (agent_.port == 0) agent_.port = static_cast<std::uint16_t>(value.asUInt());
  }

  void TakeThumbprint(const std::string& text) {
    const std::optional<std::string> normal = NormalizeThumbprint(text);
    if (!normal) Fail("has no 40 hexadecimal digits for \"thumbprint\".");
    if (!thumbprint_) thumbprint_ = normal;
  }

  void TakeAnswers(const Json::Value& value) {
    if (!value.isObject()) Fail("has no object for \"answers\".");
    for (const std::string& id : value.getMemberNames()) {
      settings_.answers.try_emplace(id, value[id]);
    }
  }

  void TakeParameter(const std::string& name, const Json::Value& value) {
    const Parameter* parameter = ParameterOf(name);
    if (parameter == nullptr) Fail("has a member that is no setting: \"" + name + "\".");
    switch (parameter->kind) {
      case Parameter::Kind::kFlag:
        if (Flag(name, value)) settings_.given.try_emplace(parameter->option);
        return;
      case Parameter::Kind::kJson:
        settings_.given.try_emplace(parameter->option, WriteJson(value));
        return;
      case Parameter::Kind::kText:
      case Parameter::Kind::kSecret:
        settings_.given.try_emplace(parameter->option, Text(name, value));
        return;
    }
  }

  MigrationSettings& settings_;
  Endpoint& agent_;
  std::optional<std::string>& thumbprint_;
};

}  // namespace

std::string AddAnswer(const std::string& text, std::map<std::string, Json::Value>& answers) {
  const std::size_t equals = text.find('=');
  if (equals == 0 || equals == std::string::npos) return "An answer has the form ID=VALUE";
  const std::string written = text.substr(equals + 1);
  Json::Value value;
  if (!ParseJson(written, value).empty()) value = written;
  answers[text.substr(0, equals)] = value;
  return {};
}

void ReadSettingsFile(MigrationSettings& settings, Endpoint& agent,
                      std::optional<std::string>& thumbprint) {
  if (!settings.file.empty()) SettingsFile(settings, agent, thumbprint).Read();
}

}  // namespace Hvctl
