// What `hvctl migrate` is told, on its command line and in a settings file.
#pragma once

#include <map>
#include <optional>
#include <string>

#include <json/value.h>

#include "agent_connection.h"
#include "operation_input.h"

namespace Hvctl {

enum class ProgressForm {
  kAuto,   ///< A bar at a terminal, lines elsewhere.
  kBar,    ///< One line that is drawn over and over.
  kLines,  ///< A line for each tenth, and for each new message.
  kJson    ///< A JSON object in each line, for programs; nothing else on standard output.
};

struct MigrationSettings {
  std::string file;  ///< Settings in JSON; empty for none.
  GivenOptions given;
  std::map<std::string, Json::Value> answers;  ///< By the id of the question.
  std::string arrivedAt;  ///< Where this computer sees the folder copied to; empty if it doesn't.
  bool shutDown = false;  ///< Without asking.
  bool force = false;     ///< The old machine is shut down after a failure as well.
  bool again = false;     ///< Export anew whatever has been exported.
  ProgressForm progress = ProgressForm::kAuto;
};

/// Takes "ID=VALUE" into the answers. A value that isn't JSON is a text.
/// \return What is wrong with the text; empty when nothing is.
std::string AddAnswer(const std::string& text, std::map<std::string, Json::Value>& answers);

/// Takes the members of the settings file that the command line didn't give.
/// \param agent       A host that is empty and a port of 0 weren't given.
/// \param thumbprint  As the user wrote it, if at all.
/// Throws Failure (kUsage), with the file's name, for a file that can't be read, isn't a JSON
/// object, or has a member that is no setting or isn't of its type.
void ReadSettingsFile(MigrationSettings& settings, Endpoint& agent,
                      std::optional<std::string>& thumbprint);

}  // namespace Hvctl
