// An agent that replies what a test has written down.
#pragma once

#include <deque>
#include <map>
#include <string>
#include <vector>

#include "api_message.h"
#include "failure.h"
#include "operation_input.h"
#include "remote_agent.h"

namespace Hvctl {

inline Json::Value Parsed(const std::string& text) {
  Json::Value value;
  const std::string problem = ParseJson(text, value);
  return problem.empty() ? value : Json::Value("no JSON: " + problem);
}

/// Stands in a list of replies for a connection that can't be made.
inline const std::string kLost = "lost";

class ScriptedAgent : public Agent {
 public:
  /// Replies as JSON text, in their order; the last one is given again and again.
  void Reply(const std::string& operation, std::deque<std::string> replies) {
    replies_[operation] = std::move(replies);
  }

  Json::Value Invoke(const std::string& operation, const std::string& input) override {
    operations.push_back(operation);
    inputs.push_back(Parsed(input));
    std::deque<std::string>& replies = replies_[operation];
    if (replies.empty()) return Parsed(R"({"result": "success", "error": ""})");
    const std::string reply = replies.front();
    if (replies.size() > 1) replies.pop_front();
    if (reply == kLost) throw Failure(ExitCode::kNoConnection, "No connection.");
    return Parsed(reply);
  }

  /// The inputs that an operation was called with.
  std::vector<Json::Value> InputsOf(const std::string& operation) const {
    std::vector<Json::Value> found;
    for (std::size_t i = 0; i < operations.size(); ++i) {
      if (operations[i] == operation) found.push_back(inputs[i]);
    }
    return found;
  }

  std::vector<std::string> operations;
  std::vector<Json::Value> inputs;

 private:
  std::map<std::string, std::deque<std::string>> replies_;
};

/// What all operations are given.
inline GivenOptions UsualOptions() {
  return {{"--user", "admin"},
          {"--ssh-server", "new"},
          {"--ssh-folder", "/storage"},
          {"--ssh-user", "root"},
          {"--ssh-thumbprint", "AA"}};
}

}  // namespace Hvctl
