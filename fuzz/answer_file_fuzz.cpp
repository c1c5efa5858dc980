// Any bytes as the runner's document with its question, a zero byte, and any bytes as the client's
// answer: what is written is the answer as it came, to the question that was asked, and where the
// runner looks for it.
#include <json/writer.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "require.h"
#include "runner/answer_file.h"
#include "runner/export_output.h"

namespace Halvard {
namespace {

std::string gText;

struct Saved {
  std::wstring path;
  Json::Value document;
};
std::optional<Saved> gSaved;

constexpr wchar_t kTemp[] = L"C:\\Temp\\";

}  // namespace

// In place of a machine's files.

std::wstring GetTempDirectory() { return kTemp; }

bool Runner::LoadExportOutput(const std::wstring&, Json::Value& document) {
  return ParseJson(gText, document);
}

bool SaveJsonToFile(const std::wstring& path, const Json::Value& value, LPSECURITY_ATTRIBUTES) {
  gSaved = Saved{path, value};
  // Some places can't be written.
  return path.size() % 5 != 0;
}

namespace {

void CheckPlace(const Json::Value& question, const std::wstring& path, const std::wstring& id) {
  const Json::Value replyFile = question.get("reply_file", Json::Value());
  const bool isText = replyFile.isConvertibleTo(Json::stringValue);
  const std::wstring told = isText ? Utf8ToWide(replyFile.asString()) : std::wstring();
  if (told.empty()) return Require(path == kTemp + id + L".json");
  const bool isWhole = told.find(L'\\') != std::wstring::npos;
  Require(path == (isWhole ? told : kTemp + told));
}

void CheckSaved(const Json::Value& answer) {
  Json::Value document;
  Require(ParseJson(gText, document) && document.isObject());
  const Json::Value& question = document["question"];
  Require(question.isObject());
  const Json::Value& reply = gSaved->document;
  Require(reply.size() == 2 && reply["answer"] == answer && reply["reply_to"].isString());
  const std::wstring id = Utf8ToWide(question["id"].asString());
  Require(!id.empty() && Utf8ToWide(reply["reply_to"].asString()) == id);
  CheckPlace(question, gSaved->path, id);
}

}  // namespace
}  // namespace Halvard

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace Halvard;
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\0');
  gText = input.substr(0, end);
  // A client's answer has come as a member of a document that could be read.
  const std::string text = end == std::string::npos ? "null" : input.substr(end + 1);
  Json::Value request;
  if (!ParseJson("{\"answer\": " + text + "\n}", request) || !request.isObject()) return 0;
  const Json::Value answer = request["answer"];
  gSaved.reset();
  const bool written = Runner::CreateReplyFile(answer);
  Require(written == (gSaved && gSaved->path.size() % 5 != 0));
  if (gSaved) CheckSaved(answer);
  return 0;
}
