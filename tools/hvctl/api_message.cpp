#include "api_message.h"

#include <memory>

#include <json/json.h>

#include "failure.h"
#include "json_path.h"

namespace Hvctl {
namespace {

constexpr const char* kService = "halvard.migrator";
// The agent answers one request on a connection, so any id will do.
constexpr const char* kRequestId = "1";
constexpr const char* kProgressName = "com.ostrel.krova.std.progress";

/// Puts the arguments in the places "%1%", "%2%" ... of the template.
std::string Fill(std::string text, const Json::Value* arguments) {
  if (arguments == nullptr || !arguments->isArray()) return text;
  for (Json::ArrayIndex i = 0; i < arguments->size(); ++i) {
    const std::string place = "%" + std::to_string(i + 1) + "%";
    const std::size_t at = text.find(place);
    if (at != std::string::npos) text.replace(at, place.size(), TextOf(&(*arguments)[i]));
  }
  return text;
}

/// `{"ERROR":{NAME:{"messages":[...]}}}` as lines for a person.
std::string DescribeError(const Json::Value& error) {
  const Json::Value* named = Find(error, {"ERROR"});
  if (named == nullptr || !named->isObject() || named->size() != 1) {
    throw Failure(ExitCode::kApiError, "The agent's error isn't in the expected form.");
  }
  const std::string name = named->getMemberNames().front();
  std::string text = name;
  const Json::Value* messages = Find(*named, {name.c_str(), "messages"});
  if (messages == nullptr || !messages->isArray()) return text;
  for (const Json::Value& message : *messages) {
    const Json::Value* fields = Find(message, {"STRUCTURE", "krova.core.runtime.message"});
    if (fields == nullptr) continue;
    text += "\n  " + Fill(TextOf(Find(*fields, {"default_message"})), Find(*fields, {"args"}));
    text += " (" + TextOf(Find(*fields, {"id"})) + ")";
  }
  return text;
}

std::string DescribeProgress(const Json::Value& progress) {
  const Json::Value* fields = Find(progress, {"STRUCTURE", kProgressName});
  const auto number = [&](const char* name) {
    const Json::Value* value = fields == nullptr ? nullptr : Find(*fields, {name});
    return value != nullptr && value->isInt64() ? value->asInt64() : 0;
  };
  return "progress " + std::to_string(number("current")) + " (" + std::to_string(number("min")) +
         " to " + std::to_string(number("max")) + ")";
}

bool IsFailure(const Json::Value* result) {
  return result != nullptr && (result->isNumeric() || TextOf(result) == "fail");
}

}  // namespace

std::string WriteJson(const Json::Value& value) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "";
  builder["emitUTF8"] = true;
  return Json::writeString(builder, value);
}

std::string ParseJson(const std::string& text, Json::Value& value) {
  Json::CharReaderBuilder builder;
  Json::CharReaderBuilder::strictMode(&builder.settings_);
  builder["strictRoot"] = false;
  const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  std::string problem;
  try {
    if (reader->parse(text.data(), text.data() + text.size(), &value, &problem)) return {};
  } catch (const Json::Exception& error) {  // Nested too deeply.
    problem = error.what();
  }
  return problem.empty() ? "It can't be read." : problem;
}

std::string MakeRequest(const std::string& operation, const std::string& input) {
  Json::Value request;
  request["jsonrpc"] = "2.0";
  request["id"] = kRequestId;
  request["method"] = "invoke";
  Json::Value& params = request["params"];
  params["serviceId"] = kService;
  params["operationId"] = operation;
  params["input"]["STRUCTURE"]["operation-input"]["json"] = input;
  params["ctx"]["appCtx"] = Json::Value(Json::objectValue);
  params["ctx"]["securityCtx"] = Json::Value(Json::objectValue);
  return WriteJson(request);
}

Answer ReadAnswer(const std::string& response) {
  Json::Value document;
  if (const std::string problem = ParseJson(response, document); !problem.empty()) {
    throw Failure(ExitCode::kApiError, "The agent's answer isn't JSON: " + problem);
  }
  if (const Json::Value* output = Find(document, {"result", "output"})) {
    return {Answer::Kind::kReply, output->isString() ? output->asString() : WriteJson(*output)};
  }
  if (const Json::Value* progress = Find(document, {"result", "progress"})) {
    return {Answer::Kind::kProgress, DescribeProgress(*progress)};
  }
  if (const Json::Value* error = Find(document, {"result", "error"})) {
    return {Answer::Kind::kError, DescribeError(*error)};
  }
  if (const Json::Value* error = Find(document, {"error"})) {
    const Json::Value* code = Find(*error, {"code"});
    const std::string number = code != nullptr && code->isInt64() ? code->asString() : "?";
    return {Answer::Kind::kError, "Error " + number + ": " + TextOf(Find(*error, {"message"}))};
  }
  throw Failure(ExitCode::kApiError, "The agent's answer has neither a result nor an error.");
}

std::string RefusalOf(const std::string& reply) {
  Json::Value document;
  return ParseJson(reply, document).empty() ? RefusalIn(document) : std::string();
}

std::string RefusalIn(const Json::Value& reply) {
  if (!IsFailure(Find(reply, {"result"}))) return {};
  const std::string error = TextOf(Find(reply, {"error"}));
  return error.empty() ? "The agent gave no reason." : error;
}

std::string InputProblem(const std::string& text) {
  Json::Value document;
  if (const std::string problem = ParseJson(text, document); !problem.empty()) return problem;
  return document.isObject() ? std::string()
                             : "It has to be a JSON object, such as {\"locale\":\"en\"}.";
}

}  // namespace Hvctl
