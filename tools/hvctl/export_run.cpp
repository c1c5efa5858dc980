#include "export_run.h"

#include "api_message.h"
#include "failure.h"
#include "json_path.h"

namespace Hvctl {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPause{1000};
// In looks, one in a second.
constexpr int kLooksAtBefore = 10;
constexpr int kMostSilentLooks = 300;
constexpr int kRepeatedLooksBeforeHint = 600;
constexpr int kMostFailedLooks = 60;
constexpr int kMostLooksAtAnswered = 30;
constexpr int kMostRefusedAnswers = 10;
constexpr int kWholePercent = 100;

std::string Shown(const Json::Value& value) {
  return value.isString() ? value.asString() : WriteJson(value);
}

int PercentOf(const Json::Value& document) {
  const Json::Value* progress = Find(document, {"progress"});
  if (progress == nullptr || !progress->isNumeric()) return 0;
  const double number = progress->asDouble();
  // A document in another form may hold any number.
  if (!(number > 0)) return 0;
  return number < kWholePercent ? static_cast<int>(number) : kWholePercent;
}

std::string ReasonOf(const Json::Value& document) {
  const std::string text = TextOf(Find(document, {"error", "text", "localized"}));
  const std::string resolution = TextOf(Find(document, {"error", "resolution", "localized"}));
  if (text.empty()) return "The export has failed and gives no reason.";
  return resolution.empty() ? text : text + "\nResolution: " + resolution;
}

std::string QuestionText(const std::string& id, const Json::Value& question) {
  const std::string text = TextOf(Find(question, {"text", "localized"}));
  return text.empty() ? "Question " + id : text;
}

/// " (yes, no; Enter for yes)"
std::string ChoicesText(const Json::Value& question) {
  std::string text;
  const Json::Value* choices = Find(question, {"choices"});
  if (choices != nullptr && choices->isArray()) {
    for (const Json::Value& choice : *choices) text += (text.empty() ? "" : ", ") + Shown(choice);
  }
  const Json::Value* preset = Find(question, {"default"});
  if (preset != nullptr) text += (text.empty() ? "" : "; ") + ("Enter for " + Shown(*preset));
  return text.empty() ? text : " (" + text + ")";
}

/// What a person means by \p line; nothing when it is none of the choices.
std::optional<Json::Value> Meaning(const std::string& line, const Json::Value& question) {
  const Json::Value* preset = Find(question, {"default"});
  if (line.empty() && preset != nullptr) return *preset;
  const Json::Value* choices = Find(question, {"choices"});
  if (choices == nullptr || !choices->isArray()) return Json::Value(line);
  for (const Json::Value& choice : *choices) {
    if (Shown(choice) == line) return choice;
  }
  return std::nullopt;
}

}  // namespace

std::string OutcomeOf(const Json::Value& document) {
  const std::string status = TextOf(Find(document, {"status"}));
  return status == "success" || status == "error" ? status : std::string();
}

ExportRun::ExportRun(Agent& agent, OperationInputs& inputs,
                     const std::map<std::string, Json::Value>& answers, const Ask& ask,
                     const Pause& pause, MigrationView& view)
    : agent_(agent), inputs_(inputs), answers_(answers), ask_(ask), pause_(pause), view_(view) {}

Json::Value ExportRun::Poll() {
  const OperationCommand& command = CommandNamed("export-status");
  Json::Value document = agent_.Invoke(command.operation, inputs_.Of(command));
  if (const std::string refusal = RefusalIn(document); !refusal.empty()) {
    throw Failure(ExitCode::kRefused, "The agent doesn't tell how far the export is: " + refusal);
  }
  return document;
}

void ExportRun::Start() {
  before_ = Poll();
  const OperationCommand& command = CommandNamed("export");
  const Json::Value reply = agent_.Invoke(command.operation, inputs_.Of(command));
  if (const std::string refusal = RefusalIn(reply); !refusal.empty()) {
    throw Failure(ExitCode::kRefused, "The export doesn't start: " + refusal);
  }
}

Json::Value ExportRun::Follow() {
  for (;; pause_(kPause)) {
    const Json::Value document = PollPatiently();
    if (failedLooks_ > 0 || IsThatOfTheRunBefore(document)) continue;
    CountSilence(document);
    Show(document);
    CountRepetitions(document);
    const std::string outcome = OutcomeOf(document);
    if (outcome == "success") return document;
    if (outcome == "error") throw Failure(ExitCode::kExportFailed, ReasonOf(document));
    const Json::Value* question = Find(document, {"question"});
    AnswerQuestion(question == nullptr ? Json::Value() : *question);
  }
}

Json::Value ExportRun::PollPatiently() {
  try {
    Json::Value document = Poll();
    failedLooks_ = 0;
    return document;
  } catch (const Failure& failure) {
    if (failure.Code() != ExitCode::kNoConnection || ++failedLooks_ > kMostFailedLooks) throw;
    if (failedLooks_ == 1) view_.Tell(std::string(failure.what()) + " Trying again for a minute.");
    return {};
  }
}

/// The document of an export before may stay for a moment behind the start of the next one.
bool ExportRun::IsThatOfTheRunBefore(const Json::Value& document) {
  if (OutcomeOf(document).empty() || document != before_) {
    before_ = Json::Value();
    return false;
  }
  return ++looksAtBefore_ <= kLooksAtBefore;
}

/// A program that was ended leaves its last word behind, which is not to be told from that of one
/// at work: whether to wait is left to the person.
void ExportRun::CountRepetitions(const Json::Value& document) {
  repeatedLooks_ = document == last_ ? repeatedLooks_ + 1 : 0;
  last_ = document;
  if (repeatedLooks_ != kRepeatedLooksBeforeHint) return;
  view_.Tell(
      "The export has said the same for ten minutes. It goes on as long as the old machine's task "
      "manager has a python.exe below PythonURExtractDir. If there is none, end this command and "
      "run it again with --again.");
}

void ExportRun::CountSilence(const Json::Value& document) {
  silentLooks_ = document.isNull() ? silentLooks_ + 1 : 0;
  if (silentLooks_ <= kMostSilentLooks) return;
  throw Failure(ExitCode::kExportFailed,
                "The export has said nothing for five minutes; perhaps its program didn't start. "
                "The agent's log on the old machine tells why.");
}

void ExportRun::Show(const Json::Value& document) {
  if (!document.isObject()) return;
  view_.ShowProgress(PercentOf(document), TextOf(Find(document, {"progressMessage", "localized"})));
}

void ExportRun::AnswerQuestion(const Json::Value& question) {
  const std::string id = TextOf(Find(question, {"id"}));
  // A question goes on to show until the program has read the answer. One that shows for long after
  // it is asked again.
  if (id == answered_ && ++looksAtAnswered_ <= kMostLooksAtAnswered) return;
  answered_.clear();
  if (id.empty()) return;
  const OperationCommand& command = CommandNamed("answer");
  const std::string answer = WriteJson(AnswerTo(id, question));
  const Json::Value reply =
      agent_.Invoke(command.operation, inputs_.Of(command, {{"--answer", answer}}));
  const std::string refusal = RefusalIn(reply);
  if (refusal.empty()) {
    answered_ = id;
    looksAtAnswered_ = 0;
    refusedAnswers_ = 0;
    return;
  }
  // It may have met the program's own writing.
  if (++refusedAnswers_ > kMostRefusedAnswers) {
    throw Failure(ExitCode::kRefused, "The answer to " + id + " isn't taken: " + refusal);
  }
}

Json::Value ExportRun::AnswerTo(const std::string& id, const Json::Value& question) const {
  const auto known = answers_.find(id);
  if (known == answers_.end()) return AnswerOfPerson(id, question);
  view_.Tell(QuestionText(id, question) + " " + Shown(known->second));
  return known->second;
}

Json::Value ExportRun::AnswerOfPerson(const std::string& id, const Json::Value& question) const {
  const std::string asked = QuestionText(id, question) + ChoicesText(question);
  view_.Tell("The export asks a question.");
  while (const std::optional<std::string> line = ask_(Harmless(asked) + ": ")) {
    if (const std::optional<Json::Value> answer = Meaning(*line, question)) return *answer;
  }
  throw Failure(ExitCode::kUnanswered, "The export waits for an answer: " + asked +
                                           "\nGive it with --answer " + id +
                                           "=VALUE and run the same command again; it goes on "
                                           "where the export is.");
}

}  // namespace Hvctl
