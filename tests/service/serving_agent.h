// An agent that serves, with its client beside it.
#pragma once

#include <chrono>
#include <csignal>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <json/value.h>

#include "core/startup/process_test.h"
#include "core/startup/scripted_checks.h"
#include "core/text.h"
#include "support/client_run.h"
#include "support/free_port.h"

namespace Halvard {

inline constexpr wchar_t kUser[] = L"Administrator@ostrel.local";

/// An agent that serves, on a machine whose administrator has the one accepted password.
class ServingAgent {
 public:
  /// \param upgradeRunner  What the machine's runner plays; null: nothing that is worth telling.
  /// \param prepare        What else the machine has to be before the agent starts.
  explicit ServingAgent(const std::string& machine = "embedded-5.5",
                        const Json::Value& upgradeRunner = {},
                        const std::function<void(Lab::Instance&)>& prepare = {})
      : machine_(machine) {
    if (!upgradeRunner.isNull()) machine_.Set("/upgradeRunner", upgradeRunner);
    if (prepare) prepare(machine_);
    machine_.MakeFolder(L"%LOCALAPPDATA%\\Ostrel\\Halvard");
    machine_.SetVariable(Testing::kAddressVariable, L"192.0.2.10");
    machine_.SetVariable(Testing::kInventoryVariable, L"100 1000");
    machine_.Set("/adapters/0/ipv6", false);
    machine_.Set("/ports/host", true);
    agent_ = std::make_unique<Testing::AgentProcess>(
        machine_, std::vector<std::wstring>{L"-p", Testing::kAcceptedPassword, L"-o", port_},
        Testing::AgentProcess::Input::kPipe, Testing::ScriptedAgentProgram());
    agent_->WaitFor(English(1021));
    const std::wstring label = L"   SSL thumbprint: ";
    const std::wstring console = agent_->Console();
    thumbprint_ = console.substr(console.find(label) + label.size(), 59);
  }

  /// Runs a command of the client with what leads to the agent.
  Testing::ClientRun Command(std::vector<std::wstring> words, const std::string& input = {},
                             const std::vector<std::string>& variables = {}) const {
    for (const std::wstring& word :
         {std::wstring(L"--host"), std::wstring(L"127.0.0.1"), std::wstring(L"--port"), port_,
          std::wstring(L"--thumbprint"), thumbprint_}) {
      words.push_back(word);
    }
    return Testing::RunClient(words, input, variables);
  }

  /// The same with the administrator's name and password.
  Testing::ClientRun Ask(std::vector<std::wstring> words) const {
    words.insert(words.end(), {L"--user", kUser});
    return Command(words, {},
                   {"HVCTL_PASSWORD=" + WideToUtf8(Testing::kAcceptedPassword),
                    "HVCTL_SSH_PASSWORD=ssh-secret", "HVCTL_AD_PASSWORD=ad-secret"});
  }

  /// Asks until the reply has the text; throws after a minute.
  Testing::ClientRun AskUntil(const std::vector<std::wstring>& words,
                              const std::wstring& text) const {
    const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < end) {
      Testing::ClientRun run = Ask(words);
      if (run.output.find(text) != std::wstring::npos) return run;
    }
    throw std::runtime_error("The agent never answered " + WideToUtf8(text));
  }

  void WaitForLog(const Testing::LogLine& line) const { agent_->WaitForLog(line); }

  /// The agent has read its part of the description when it started; its runner reads it anew.
  Lab::Instance& Machine() { return machine_; }
  Testing::AgentProcess& Process() { return *agent_; }
  const std::wstring& Port() const { return port_; }

  Testing::AgentRun Stop(int signal = SIGINT) {
    agent_->Signal(signal);
    return WaitForEnd();
  }

  /// Of an agent that has been told to end.
  Testing::AgentRun WaitForEnd() { return agent_->Wait(); }

 private:
  Lab::Instance machine_;
  const std::wstring port_ = std::to_wstring(Testing::FreePort());
  std::unique_ptr<Testing::AgentProcess> agent_;
  std::wstring thumbprint_;
};

}  // namespace Halvard
