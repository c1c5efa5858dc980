#include "runner/answer_file.h"

#include <string>

#include "core/json_documents.h"
#include "core/json_files.h"
#include "core/logging.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "host/windows_api.h"
#include "runner/export_output.h"
#include "runner/runner_files.h"

namespace Halvard::Runner {
namespace {

/// \param replyFile  A full path, a file's name, or nothing.
std::wstring AnswerPath(const std::wstring& directory, const std::wstring& replyFile,
                        const std::wstring& questionId) {
  if (replyFile.empty()) return directory + questionId + L".json";
  const bool isPath = replyFile.find(L'\\') != std::wstring::npos;
  return isPath ? replyFile : directory + replyFile;
}

}  // namespace

bool CreateReplyFile(const Json::Value& answer) {
  LogScope log;
  Json::Value reply(Json::objectValue);
  reply["answer"] = answer;
  const std::wstring directory = GetTempDirectory();
  const std::wstring outputPath = directory + kExportOutputFile;
  Json::Value output;
  if (!LoadExportOutput(outputPath, output)) {
    log.Error(L"CreateReplyFile: Failed to read the json file at [%s].", outputPath.c_str());
    return false;
  }
  // The runner may write anything.
  const Json::Value question = output.isObject() ? output["question"] : Json::Value();
  const std::wstring id = Utf8ToWide(TextOrNothing(question, "id"));
  if (id.empty()) {
    log.Error(L"CreateReplyFile: Question id is empty in [%s] file.", outputPath.c_str());
    return false;
  }
  log.Info(L"CreateReplyFile: Question id: [%s]", id.c_str());
  log.Info(L"CreateReplyFile: Answer is: [%s]", StyledText(answer).c_str());
  reply["reply_to"] = WideToUtf8(id);
  const std::wstring path =
      AnswerPath(directory, Utf8ToWide(TextOrNothing(question, "reply_file")), id);
  log.Info(L"CreateReplyFile: Answer file will be created at [%s].", path.c_str());
  SECURITY_ATTRIBUTES defaultSecurity = {sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  if (!SaveJsonToFile(path, reply, &defaultSecurity)) {
    const DWORD error = GetLastError();
    log.Error(L"CreateReplyFile: Failed to create answer file [%s], Error: [%i].", path.c_str(),
              error);
    return false;
  }
  log.Info(L"CreateReplyFile: Successfully created answer file [%s].", path.c_str());
  return true;
}

}  // namespace Halvard::Runner
