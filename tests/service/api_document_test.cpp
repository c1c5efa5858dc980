// What docs/api.md shows is what the agent answers.
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include <json/json.h>

#include "serving_agent.h"

namespace Halvard {
namespace {

struct Example {
  std::wstring operation;
  std::string request;
  std::string reply;
};

std::string ReadDocument() {
  std::ifstream file(API_DOCUMENT, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// \return The fenced blocks "json request OPERATION", each with the "json reply" behind it.
std::vector<Example> ReadExamples() {
  const std::string request = "```json request ";
  std::vector<Example> examples;
  std::string* target = nullptr;
  std::istringstream document(ReadDocument());
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

TEST(ApiDocument, ExamplesAreAnsweredAsShown) {
  const ServingAgent agent;
  std::set<std::wstring> operations;
  for (const Example& example : ReadExamples()) {
    SCOPED_TRACE(example.request);
    const Testing::ClientRun run =
        agent.Command({L"call", example.operation, L"-"}, WithAcceptedPassword(example.request));
    EXPECT_EQ(WideToUtf8(run.output), example.reply);
    operations.insert(example.operation);
  }
  EXPECT_EQ(operations.size(), 13u);
}

TEST(ApiDocument, AnswersOnTheWireAreAsShown) {
  const ServingAgent agent;
  const std::string document = ReadDocument();
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
