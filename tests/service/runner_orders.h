// What a runner does in a session, from the session's events.
#pragma once

#include <json/value.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Halvard::MigratorSvc {

/// How the runner ends, by the event's name.
struct RunnerEnd {
  std::string_view event;
  int code;
  const char* document;  ///< What it writes before; null: nothing.
};

std::span<const RunnerEnd> RequirementsEnds();
std::span<const RunnerEnd> ExportEnds();

/// \return The end of this name; null when there is none.
const RunnerEnd* FindEnd(std::span<const RunnerEnd> ends, std::string_view event);

/// Whether the event is something that a runner of an export does before its end.
bool IsStepOfExport(std::string_view event);

// Files by which the test and the runner wait for each other, for the event at this place.

std::wstring StartedMark(std::size_t index);
std::wstring GoMark(std::size_t index);
std::wstring DoneMark(std::size_t index);

/// The steps of a runner that is started by the event at this place, up to its end. Each waits for
/// the test.
std::vector<Json::Value> StepsOfRequirements(const std::vector<std::string_view>& events,
                                             std::size_t index);
std::vector<Json::Value> StepsOfExport(const std::vector<std::string_view>& events,
                                       std::size_t index);

}  // namespace Halvard::MigratorSvc
