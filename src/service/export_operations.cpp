// The export: its start, its course, and the answers to its questions.
#include "core/json_documents.h"
#include "core/property_defaults.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "runner/answer_file.h"
#include "runner/export_output.h"
#include "runner/export_phase.h"
#include "runner/runner_files.h"
#include "service/async_service.h"
#include "service/operation_call.h"

namespace Halvard::MigratorSvc {
namespace {

// The operations' full names, with which their log lines begin.
constexpr wchar_t kInvokeExport[] = L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport";
constexpr wchar_t kPollExportStatus[] = L"Halvard::MigratorSvc::AsyncServiceImpl::PollExportStatus";
constexpr wchar_t kCreateAnswerFile[] = L"Halvard::MigratorSvc::AsyncServiceImpl::CreateAnswerFile";

/// The options reach the runner's input file as a JSON object if they are one, else as their text.
void TakeUserOptions(OperationCall& call) {
  if (!call.Request().isMember("user_options")) {
    call.Log().Info(
        L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport: No user options passed. Using default value: [%s].",
        kDefaultUserOptions);
    gProperties[L"USER_OPTIONS"] = kDefaultUserOptions;
    return;
  }
  const std::wstring options = StyledText(call.Request()["user_options"]);
  call.Log().Info(
      L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport: User options passed: [%s]",
      options.c_str());
  gProperties[L"USER_OPTIONS"] = options;
}

/// Only the boolean counts, and only for this export.
void TakeSilence(OperationCall& call) {
  const Json::Value& silent = call.Request()["silent"];
  if (!silent.isBool() || !silent.asBool()) {
    gProperties[L"UR_SILENT_EXPORT"] = L"";
    return;
  }
  call.Log().Info(
      L"Halvard::MigratorSvc::AsyncServiceImpl::InvokeExport: Running export in silent mode.");
  gProperties[L"UR_SILENT_EXPORT"] = L"1";
}

/// A document that is no object has no members, and isn't asked for any.
bool HasStatus(const Json::Value& document) {
  return document.isObject() && document.isMember("status");
}

void ShowExportOutput(OperationCall& call) {
  // What there is goes to the client: nothing yet, a part, or the whole.
  (void)Runner::LoadExportOutput(GetTempDirectory() + Runner::kExportOutputFile, call.Reply());
  if (call.Reply().empty() || HasStatus(call.Reply())) return;
  call.Log().Warn(
      L"Halvard::MigratorSvc::AsyncServiceImpl::PollExportStatus: UpgradeRunnerExportOutput.json content: %s",
      StyledText(call.Reply()).c_str());
}

}  // namespace

void AsyncServiceImpl::InvokeExport(const std::string& operationInput,
                                    const ActivationPointer& /*activation*/,
                                    const NativeCompletion& completion) {
  RunOperation(kInvokeExport, operationInput, completion, [](OperationCall& call) {
    call.Announce(1195);
    if (call.IsRefusedInPhase(L"PREUPGRADE_CHECKS_STATUS", L"NOT_STARTED", 1066)) return;
    if (call.IsRefusedInPhase(L"PREUPGRADE_CHECKS_STATUS", L"RUNNING", 1067)) return;
    if (call.IsRefusedInPhase(L"EXPORT_STATUS", L"RUNNING", 1068)) return;
    if (!call.PassesGuards()) return;
    TakeUserOptions(call);
    TakeSilence(call);
    if (Runner::LaunchUpgradeRunnerExportPhase(false) != 0) return call.Fail(1070);
    call.Succeed(1069);
  });
}

void AsyncServiceImpl::PollExportStatus(const std::string& operationInput,
                                        const ActivationPointer& /*activation*/,
                                        const NativeCompletion& completion) {
  RunOperation(kPollExportStatus, operationInput, completion, [](OperationCall& call) {
    if (!call.PassesGuards()) return;
    ShowExportOutput(call);
  });
}

void AsyncServiceImpl::CreateAnswerFile(const std::string& operationInput,
                                        const ActivationPointer& /*activation*/,
                                        const NativeCompletion& completion) {
  RunOperation(kCreateAnswerFile, operationInput, completion, [](OperationCall& call) {
    call.Announce(1196);
    if (!call.PassesGuards()) return;
    if (!Runner::CreateReplyFile(call.Request()["answer"])) return call.Fail(1082);
    call.Succeed(1083);
  });
}

}  // namespace Halvard::MigratorSvc
