// One export of the agent: started, followed to its end, its questions answered.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include <json/value.h>

#include "migration_view.h"
#include "operation_inputs.h"
#include "remote_agent.h"

namespace Hvctl {

/// Asks a person. \return A line; nothing when nobody is there.
using Ask = std::function<std::optional<std::string>(const std::string& prompt)>;

/// Waits before the next look at the agent.
using Pause = std::function<void(std::chrono::milliseconds)>;

class ExportRun {
 public:
  /// All have to outlive the object.
  /// \param answers  By the id of the question; a question without one is asked.
  ExportRun(Agent& agent, OperationInputs& inputs,
            const std::map<std::string, Json::Value>& answers, const Ask& ask, const Pause& pause,
            MigrationView& view);

  /// \return What the export says of itself: null before it says anything, and for a moment now and
  ///         then.
  /// Throws Failure: kRefused, and as Agent does.
  Json::Value Poll();

  /// Throws Failure (kRefused) when the agent starts none.
  void Start();

  /// Follows it to its good end. Connections that can't be made are tried again for a minute. After
  /// ten minutes without a change the view tells what to look for.
  /// \return Its last document.
  /// Throws Failure: kExportFailed with the export's own reason, or after five minutes without a
  /// word; kUnanswered; kRefused; and as Agent does.
  Json::Value Follow();

 private:
  Json::Value PollPatiently();
  bool IsThatOfTheRunBefore(const Json::Value& document);
  void Show(const Json::Value& document);
  void CountSilence(const Json::Value& document);
  void CountRepetitions(const Json::Value& document);
  void AnswerQuestion(const Json::Value& question);
  Json::Value AnswerTo(const std::string& id, const Json::Value& question) const;
  Json::Value AnswerOfPerson(const std::string& id, const Json::Value& question) const;

  Agent& agent_;
  OperationInputs& inputs_;
  const std::map<std::string, Json::Value>& answers_;
  const Ask& ask_;
  const Pause& pause_;
  MigrationView& view_;

  Json::Value before_;       ///< What was there before the start.
  int looksAtBefore_ = 0;    ///< How often it has been seen since.
  int silentLooks_ = 0;      ///< How often there was nothing, one after the other.
  Json::Value last_;         ///< What was there at the last look.
  int repeatedLooks_ = 0;    ///< How often it was what it had been before, one after the other.
  int failedLooks_ = 0;      ///< How often there was no connection, one after the other.
  std::string answered_;     ///< The question that was answered last, as long as it shows.
  int looksAtAnswered_ = 0;  ///< How often it has shown since.
  int refusedAnswers_ = 0;   ///< One after the other.
};

/// The export's last word, "success" or "error"; empty while it runs.
std::string OutcomeOf(const Json::Value& document);

}  // namespace Hvctl
