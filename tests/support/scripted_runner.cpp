#include "support/scripted_runner.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <json/writer.h>

#include "support/file_bytes.h"

namespace Halvard::Testing {
namespace {

constexpr wchar_t kInterpreter[] = L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe";
constexpr wchar_t kScriptFolder[] = L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\";

std::wstring Beside(const std::wstring& name) { return L"%TEMP%\\" + name; }

}  // namespace

ScriptedRunner::ScriptedRunner(Lab::Instance& machine) : machine_(machine) {
  machine_.WriteFile(kFolder + kInterpreter, "");
  machine_.WriteFile(kFolder + kScriptFolder + L"UpgradeRunner.py",
                     Lab::FileBytes(SCRIPTED_RUNNER));
  OrderRequirements({});
  OrderExport({});
}

void ScriptedRunner::Order(const char* mode, const std::vector<Json::Value>& steps) {
  Json::Value& list = orders_[mode];
  list = Json::Value(Json::arrayValue);
  for (const Json::Value& step : steps) list.append(step);
  machine_.WriteFile(kFolder + kScriptFolder + L"orders.json", Json::FastWriter().write(orders_));
}

void ScriptedRunner::Tell(const std::wstring& name) { machine_.WriteFile(Beside(name), ""); }

void ScriptedRunner::WaitFor(const std::wstring& name) const {
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  while (!machine_.FileExists(Beside(name))) {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error("The runner is silent.");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::string ScriptedRunner::Read(const std::wstring& name) const {
  return machine_.ReadFile(Beside(name)).value_or("");
}

void ScriptedRunner::Remove(const std::wstring& name) { machine_.RemoveFile(Beside(name)); }

}  // namespace Halvard::Testing
