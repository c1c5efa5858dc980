// Where the packages of the runner put what the agent uses, below the folder of the extraction.
#pragma once

namespace Halvard::Runner {

inline constexpr wchar_t kInterpreter[] = L"\\PFiles\\Ostrel\\Rimsa\\python\\python.exe";
inline constexpr wchar_t kRunnerScript[] =
    L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\UpgradeRunner.py";
inline constexpr wchar_t kOrchestratorScript[] =
    L"\\PFiles\\Ostrel\\Rimsa\\rimsa_upgrade_runner\\UpgradeOrchestrator.py";

}  // namespace Halvard::Runner
