// What the tests of the service start from.
#pragma once

#include <json/json.h>

#include <cstdint>
#include <string>
#include <vector>

#include "core/core_test.h"
#include "core/startup/scripted_checks.h"
#include "core/text.h"
#include "krova/core/execution.h"
#include "machine/string_tables.h"
#include "scripted_operations.h"
#include "serverclient/tunrak_core.h"
#include "service/async_service.h"
#include "service/interface_definition.h"
#include "support/console_capture.h"

namespace Halvard::MigratorSvc {

/// An operation as the tests know it. Not taken from the code.
struct KnownOperation {
  const wchar_t* name;
  const char* id;
  Slot slot;
};

inline constexpr KnownOperation kOperations[] = {
    {L"GetSourceDeploymentType", "get_source_deployment_type",
     &AsyncServiceInterface::GetSourceDeploymentType},
    {L"InvokePreUpgrade", "invoke_pre_upgrade", &AsyncServiceInterface::InvokePreUpgrade},
    {L"GetCachedPreUpgradeResult", "get_cached_pre_upgrade_result",
     &AsyncServiceInterface::GetCachedPreUpgradeResult},
    {L"CollectActiveDirectoryConfig", "collect_active_directory_config",
     &AsyncServiceInterface::CollectActiveDirectoryConfig},
    {L"CollectNetworkConfig", "collect_network_config",
     &AsyncServiceInterface::CollectNetworkConfig},
    {L"InvokeExport", "invoke_export", &AsyncServiceInterface::InvokeExport},
    {L"PollExportStatus", "poll_export_status", &AsyncServiceInterface::PollExportStatus},
    {L"CreateAnswerFile", "create_answer_file", &AsyncServiceInterface::CreateAnswerFile},
    {L"CopyExportData", "copy_export_data", &AsyncServiceInterface::CopyExportData},
    {L"CopyLogsDirectory", "copy_logs_directory", &AsyncServiceInterface::CopyLogsDirectory},
    {L"ShutdownMachine", "shutdown_machine", &AsyncServiceInterface::ShutdownMachine},
    {L"ShutdownHv", "shutdown_hv", &AsyncServiceInterface::ShutdownHv},
    {L"ValidateActiveDirectoryCredentials", "validate_active_directory_credentials",
     &AsyncServiceInterface::ValidateActiveDirectoryCredentials},
};

/// The name with which an operation's log lines begin.
inline std::wstring FullName(const std::wstring& name) {
  return L"Halvard::MigratorSvc::AsyncServiceImpl::" + name;
}

/// A message of a language, as the program was linked with it.
inline std::wstring Message(int language, std::uint16_t id) {
  return std::wstring(Lab::FindString(static_cast<std::uint16_t>(language), id));
}

/// The same with its place filled.
inline std::wstring Message(int language, std::uint16_t id, const std::wstring& argument) {
  std::wstring text = Message(language, id);
  return text.replace(text.find(L"[0]"), 3, argument);
}

inline constexpr int kEnglish = 1033;
inline constexpr int kGerman = 1031;
inline constexpr int kFrench = 1036;

/// What one call left behind.
struct CallResult {
  std::string text;  ///< The reply as it goes out.
  Json::Value reply;
  std::wstring console;
  std::vector<Testing::LogLine> log;

  std::string Error() const { return reply["error"].asString(); }
  bool Failed() const { return reply["result"] == "fail"; }
};

/// A migration of the type "embedded" before its export, with checks of credentials that accept one
/// password.
class ServiceTest : public CoreTest {
 protected:
  ServiceTest() {
    // Once per process, as at start-up.
    static const bool initialized = (ServerClient::InitTunrakCore(), true);
    (void)initialized;
    Testing::CheckCalls().clear();
    Testing::TheSurroundings() = {};
    StartSession();
  }

  /// The properties of a session whose server has just started.
  static void StartSession() {
    gProperties[L"MIGRATION_TYPE"] = L"embedded";
    gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
    gProperties[L"EXPORT_RESULT"] = L"FAIL";
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"FINISHED";
    gProperties[L"KV_HTTPS_PORT"] = L"443";
    gProperties[L"SOURCE_VERSION"] = L"5.5";
    gProperties[L"SSO_VERSION"] = L"5.5";
    gProperties[L"DST_DEPLOYMENT_SIZE"] = L"Tiny";
  }

  static std::string AcceptedPassword() { return WideToUtf8(Testing::kAcceptedPassword); }

  /// A request that passes the credential check of a session before its export.
  static Json::Value GoodRequest(const std::string& locale = "en") {
    Json::Value request;
    request["locale"] = locale;
    request["sso_username"] = "administrator@ostrel.local";
    request["sso_password"] = AcceptedPassword();
    return request;
  }

  CallResult Call(Slot operation, const Json::Value& request) {
    return CallWithText(operation, Json::FastWriter().write(request));
  }

  /// Calls the operation with a log and a console of its own.
  CallResult CallWithText(Slot operation, const std::string& input) {
    machine_.RemoveFile(L"%TEMP%\\halvard.log");
    CallResult result;
    int completions = 0;
    {
      const Testing::ConsoleCapture console;
      (service_.*operation)(input, nullptr,
                            [&](const std::optional<std::string>& output,
                                const std::shared_ptr<const Krova::Data::ErrorValue>& error,
                                const Krova::Progress& progress) {
                              ++completions;
                              EXPECT_EQ(error, nullptr);
                              EXPECT_EQ(progress,
                                        (Krova::Progress{.min = 0, .max = 1, .current = 1}));
                              EXPECT_TRUE(output.has_value());
                              result.text = output.value_or("");
                            });
      result.console = console.Text();
    }
    EXPECT_EQ(completions, 1);
    result.log = Testing::OwnLog();
    EXPECT_TRUE(Json::Reader().parse(result.text, result.reply)) << result.text;
    EXPECT_TRUE(result.text.ends_with('\n'));
    return result;
  }

  AsyncServiceImpl service_;
};

}  // namespace Halvard::MigratorSvc
