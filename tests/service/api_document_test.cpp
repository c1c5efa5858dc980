// What docs/api.md shows is what the agent answers.
#include <algorithm>
#include <chrono>
#include <set>
#include <sstream>

#include <json/json.h>

#include "serving_agent.h"
#include "support/file_bytes.h"

namespace Halvard {
namespace {

struct Example {
  std::wstring operation;
  std::string request;
  std::string reply;
};

/// \return The fenced blocks "json request OPERATION", each with the "json reply" behind it.
std::vector<Example> ReadExamples() {
  const std::string request = "```json request ";
  std::vector<Example> examples;
  std::string* target = nullptr;
  std::istringstream document(Lab::FileBytes(API_DOCUMENT));
  for (std::string line; std::getline(document, line);) {
    if (line.starts_with(request)) {
      examples.push_back({Utf8ToWide(line.substr(request.size())), {}, {}});
      target = &examples.back().request;
    } else if (line == "```json reply" && !examples.empty()) {
      target = &examples.back().reply;
    } else if (line.starts_with("```")) {
      target = nullptr;
    } else if (target != nullptr) {
      *target += line + "\n";
    }
  }
  return examples;
}

/// The request with the password that the agent accepts in the place of the page's "secret".
std::string WithAcceptedPassword(const std::string& text) {
  Json::Value request;
  EXPECT_TRUE(Json::Reader().parse(text, request)) << text;
  Json::Value& password = request["sso_password"];
  if (password == "secret") password = WideToUtf8(Testing::kAcceptedPassword);
  return Json::FastWriter().write(request);
}

/// A runner with one finding, whose export asks one question.
Json::Value ShownScenario() {
  Json::Value scenario;
  EXPECT_TRUE(Json::Reader().parse(R"({
    "requirements": {"document": [
      {"name": "com.ostrel.keldb", "requirements": {
        "coreRequirement": {"requiredSrcDiskSpace": 0.5, "exportEstimationTime": 10,
                            "importEstimationTime": 15},
        "extraArguments": {"src.db.type": "embedded"},
        "requirementMismatchSpecs": [
          {"severity": "WARNING", "description": {"localized": "The disk is old."},
           "resolution": {"localized": "Buy a new one."}}]}},
      {"name": "com.ostrel.ostrelafd", "requirements": {
        "coreRequirement": {},
        "extraArguments": {"appliance.net.pnid": "kv.example",
                           "tevos.cert.dnsnames": "kv.example",
                           "tevos.cert.ipaddresses": "192.0.2.10"}}}]},
    "export": {"bytes": 10000, "questions": [
      {"id": "go-on", "text": "Go on?", "choices": ["yes", "no"]}]}
  })",
                                   scenario));
  return scenario;
}

/// What an example is answered with. A client asks for the state of an export until it has changed.
std::string AnswerTo(const ServingAgent& agent, const Example& example) {
  const std::string request = WithAcceptedPassword(example.request);
  const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
  std::string answer;
  do {
    answer = WideToUtf8(agent.Command({L"call", example.operation, L"-"}, request).output);
  } while (example.operation == L"poll_export_status" && answer != example.reply &&
           std::chrono::steady_clock::now() < end);
  return answer;
}

TEST(ApiDocument, ExamplesAreAnsweredAsShown) {
  const ServingAgent agent("embedded-platform", ShownScenario());
  std::set<std::wstring> operations;
  std::vector<Example> examples = ReadExamples();
  // Nothing answers after the one that ends the agent.
  std::ranges::stable_partition(
      examples, [](const Example& example) { return example.operation != L"shutdown_machine"; });
  for (const Example& example : examples) {
    SCOPED_TRACE(example.request);
    EXPECT_EQ(AnswerTo(agent, example), example.reply);
    operations.insert(example.operation);
  }
  EXPECT_EQ(operations.size(), 13u);
}

TEST(ApiDocument, AnswersOnTheWireAreAsShown) {
  const ServingAgent agent;
  const std::string document = Lab::FileBytes(API_DOCUMENT);
  const auto shows = [&](const std::vector<std::wstring>& call) {
    std::string body = WideToUtf8(agent.Command(call).output);
    std::erase(body, '\r');
    EXPECT_FALSE(body.empty());
    EXPECT_THAT(document, testing::HasSubstr("\n" + body));
  };
  shows({L"call", L"poll_export_status", L"{}", L"--raw"});
  shows({L"call", L"poll_export_status", L"{}", L"--raw", L"--framed"});
  shows({L"call", L"nope", L"{}", L"--raw"});
}

}  // namespace
}  // namespace Halvard
