#include "runner_orders.h"

#include <algorithm>

#include "core/text.h"
#include "support/scripted_runner.h"

namespace Halvard::MigratorSvc {
namespace {

using Testing::Step;

constexpr char kSuccess[] = R"({"status": "success"})";
constexpr char kError[] = R"({"status": "error"})";
constexpr char kNeither[] = R"({"status": "stopped"})";

constexpr RunnerEnd kExportEnds[] = {
    {"the export ends with 0 and success", 0, kSuccess},
    {"the export ends with 0 and error", 0, kError},
    {"the export ends with 0 and neither", 0, kNeither},
    {"the export ends with 0 and no document", 0, nullptr},
    {"the export ends with 1 and success", 1, kSuccess},
    {"the export ends with 1 and error", 1, kError},
    {"the export ends with 1 and error, without a thread", 1, kError},
    {"the export ends with 1 and neither", 1, kNeither},
    {"the export ends with 1 and no document", 1, nullptr},
};

constexpr RunnerEnd kRequirementsEnds[] = {
    {"the requirements end well", 0, "[]"},
    {"the requirements end badly", 1, "[]"},
    {"the requirements end without output", 0, nullptr},
};

/// Waits for the test, writes, and ends.
void AddEnd(std::vector<Json::Value>& steps, const RunnerEnd& end, std::size_t index) {
  steps.push_back(Step("wait", WideToUtf8(GoMark(index))));
  if (end.document != nullptr) steps.push_back(Step("write", end.document));
  steps.push_back(Step("exit", end.code));
}

void AddStep(std::vector<Json::Value>& steps, std::string_view event, std::size_t index) {
  steps.push_back(Step("wait", WideToUtf8(GoMark(index))));
  steps.push_back(event == "the runner asks"
                      ? Step("write", R"({"question": {"id": "q", "reply_file": "reply"}})")
                      : Step("write", R"({"status": "running"})"));
  steps.push_back(Step("tell", WideToUtf8(DoneMark(index))));
}

}  // namespace

std::span<const RunnerEnd> RequirementsEnds() { return kRequirementsEnds; }
std::span<const RunnerEnd> ExportEnds() { return kExportEnds; }

const RunnerEnd* FindEnd(std::span<const RunnerEnd> ends, std::string_view event) {
  const auto end = std::ranges::find(ends, event, &RunnerEnd::event);
  return end == ends.end() ? nullptr : &*end;
}

bool IsStepOfExport(std::string_view event) {
  return event == "the runner reports" || event == "the runner asks" ||
         event == "the runner goes on";
}

std::wstring StartedMark(std::size_t index) { return L"started-" + std::to_wstring(index); }
std::wstring GoMark(std::size_t index) { return L"go-" + std::to_wstring(index); }
std::wstring DoneMark(std::size_t index) { return L"done-" + std::to_wstring(index); }

std::vector<Json::Value> StepsOfRequirements(const std::vector<std::string_view>& events,
                                             std::size_t index) {
  std::vector<Json::Value> steps{Step("tell", WideToUtf8(StartedMark(index)))};
  for (std::size_t i = index + 1; i < events.size(); ++i) {
    const RunnerEnd* const end = FindEnd(RequirementsEnds(), events[i]);
    if (end == nullptr) continue;
    AddEnd(steps, *end, i);
    break;
  }
  return steps;
}

std::vector<Json::Value> StepsOfExport(const std::vector<std::string_view>& events,
                                       std::size_t index) {
  std::vector<Json::Value> steps{Step("tell", WideToUtf8(StartedMark(index)))};
  for (std::size_t i = index + 1; i < events.size(); ++i) {
    if (const RunnerEnd* const end = FindEnd(ExportEnds(), events[i])) {
      AddEnd(steps, *end, i);
      break;
    }
    if (IsStepOfExport(events[i])) AddStep(steps, events[i], i);
  }
  return steps;
}

}  // namespace Halvard::MigratorSvc
