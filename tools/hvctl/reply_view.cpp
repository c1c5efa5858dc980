#include "reply_view.h"

#include <json/value.h>

#include "api_message.h"
#include "findings.h"
#include "json_path.h"

namespace Hvctl {
namespace {

std::string NumberOf(const Json::Value* value) {
  return value != nullptr && value->isInt64() ? value->asString() : "?";
}

std::string DescribeSource(const Json::Value& source) {
  std::string text = "Source: " + TextOf(Find(source, {"deploymentType"})) + " " +
                     TextOf(Find(source, {"sourceVersion"})) + ", " +
                     NumberOf(Find(source, {"inventoryInfo", "hostCount"})) + " hosts, " +
                     NumberOf(Find(source, {"inventoryInfo", "vmCount"})) + " virtual machines";
  const std::string size = TextOf(Find(source, {"inventoryInfo", "deploymentSize"}));
  if (!size.empty()) text += ", size " + size;
  return text + "\n";
}

ReplyView ViewPrechecks(const Json::Value& document, const std::string& reply) {
  const Json::Value* source = Find(document, {"sourceInfo"});
  const Json::Value* components = Find(document, {"componentRequirements"});
  if (source == nullptr || components == nullptr) return {reply, {}};
  return {DescribeSource(*source) + "\n" + FindingsTable(*components), {}};
}

ReplyView ViewExport(const Json::Value& document, const std::string& reply) {
  if (document.isNull()) {
    return {reply, "The export has written nothing yet, or is writing at this moment."};
  }
  const std::string question = TextOf(Find(document, {"question", "id"}));
  if (question.empty()) return {reply, {}};
  return {reply, "The export waits for an answer to the question " + WriteJson(question) +
                     ": hvctl answer --answer JSON"};
}

}  // namespace

ReplyView ViewReply(const std::string& operation, const std::string& reply) {
  Json::Value document;
  if (!ParseJson(reply, document).empty()) return {reply, {}};
  if (operation == "poll_export_status") return ViewExport(document, reply);
  if (operation == "invoke_pre_upgrade" || operation == "get_cached_pre_upgrade_result") {
    return ViewPrechecks(document, reply);
  }
  return {reply, {}};
}

}  // namespace Hvctl
