#include "remote_agent.h"

#include "api_message.h"
#include "failure.h"

namespace Hvctl {

Json::Value RemoteAgent::Invoke(const std::string& operation, const std::string& input) {
  AgentConnection connection(endpoint_, limits_,
                             [this](const std::string& shown) { Check(shown); });
  std::string response;
  connection.Post(MakeRequest(operation, input), false,
                  [&](std::string_view piece) { response += piece; });
  const Answer answer = ReadAnswer(response);
  if (answer.kind != Answer::Kind::kReply) throw Failure(ExitCode::kApiError, answer.text);
  Json::Value reply;
  if (const std::string problem = ParseJson(answer.text, reply); !problem.empty()) {
    throw Failure(ExitCode::kApiError, "The agent's reply isn't JSON: " + problem);
  }
  return reply;
}

void RemoteAgent::Check(const std::string& shown) {
  if (thumbprint_.empty()) {
    trust_(shown);
    thumbprint_ = shown;
  } else if (shown != thumbprint_) {
    throw Failure(ExitCode::kNotTrusted,
                  "The agent has been started again: it shows another certificate than before, " +
                      shown + ". Compare it with the agent's console and begin anew.");
  }
}

}  // namespace Hvctl
