// Which guard speaks first: each operation in each phase of a migration, with each outcome of the
// credential check and each type of migration.
#include "guard_model.h"

namespace Halvard::MigratorSvc {
namespace {

std::string TextOf(const Cell& cell) {
  return WideToUtf8(cell.exportStatus + L"/" + cell.exportResult + L", checks " +
                    cell.checksStatus + L", " + cell.type) +
         ", credentials " + cell.credentials.title;
}

class GuardOrder : public ServiceTest, public testing::WithParamInterface<std::size_t> {
 protected:
  GuardOrder() {
    machine_.PlanFault({.function = "CreateThread", .error = 8});
    machine_.PlanFault({.function = "InitiateShutdownW", .error = 1115});
    machine_.PlanFault({.function = "LogonUserW", .error = 1326});
    machine_.WriteFile(kPreparedPrechecks, R"({"findings": "prepared"})");
    machine_.SetVariable(L"HV_CUSTOM_PRECHECKS_JSON", kPreparedPrechecks);
    Testing::TheSurroundings().network["network"] = "none";
    Testing::TheSurroundings().exportZipError = L"";
    Testing::TheSurroundings().logsAreBundled = false;
    SpeakMachineLanguage(kGerman);
  }

  static void Prepare(const Cell& cell) {
    StartSession();
    Testing::CheckCalls().clear();
    gProperties[L"MC_LOCALE"] = L"de";
    gProperties[L"EXPORT_STATUS"] = cell.exportStatus;
    gProperties[L"EXPORT_RESULT"] = cell.exportResult;
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = cell.checksStatus;
    gProperties[L"MIGRATION_TYPE"] = cell.type;
    gProperties[L"TUM_KV_SERVER"] = L"kv.example";
    gProperties[L"TUM_KV_PORT"] = L"8443";
    gProperties[L"KV_SSL_THUMBPRINT"] = L"AA:BB";
    gProperties[L"SSO_USERNAME"] = cell.credentials.cachedUser;
    gProperties[L"SSO_PASSWORD"] = cell.credentials.cachedPassword;
  }

  void Check(const Cell& cell) {
    SCOPED_TRACE(TextOf(cell));
    Prepare(cell);
    const KnownOperation& operation = kOperations[GetParam()];
    const ExpectedCall expected = ExpectCall(GetParam(), cell);
    Json::Value request;
    request["locale"] = "fr";
    request["sso_username"] = WideToUtf8(cell.credentials.user);
    request["sso_password"] = WideToUtf8(cell.credentials.password);
    const CallResult result = Call(operation.slot, request);
    std::map<std::string, std::wstring> reply;
    for (const std::string& member : result.reply.getMemberNames()) {
      reply[member] = Utf8ToWide(result.reply[member].asString());
    }
    ASSERT_EQ(reply, expected.reply);
    ASSERT_EQ(result.console, expected.console);
    ASSERT_EQ(result.log, expected.log);
    ASSERT_EQ(Testing::CheckCalls(), expected.checks);
    ASSERT_EQ(gProperties[L"SSO_USERNAME"].Value(), expected.cachedUser);
    ASSERT_EQ(gProperties[L"SSO_PASSWORD"].Value(), expected.cachedPassword);
    ASSERT_EQ(gProperties[L"MC_LOCALE"].Value(), L"fr");
  }

  void CheckAllCredentials(const Cell& phase) {
    for (const CredentialCase& credentials : kCredentials) {
      Cell cell = phase;
      cell.credentials = credentials;
      Check(cell);
      if (HasFatalFailure()) return;
    }
  }
};

TEST_P(GuardOrder, IsTheOperationsOwnInEachPhaseForEachTypeAndCredentials) {
  for (const wchar_t* type : {L"embedded", L"management", L"infrastructure", L"tum"}) {
    for (const wchar_t* status : {L"NOT_STARTED", L"RUNNING", L"FINISHED", L"PAUSED"}) {
      for (const wchar_t* result : {L"SUCCESS", L"FAIL"}) {
        for (const wchar_t* checks : {L"NOT_STARTED", L"RUNNING", L"FINISHED"}) {
          CheckAllCredentials({status, result, checks, type, {}});
          ASSERT_FALSE(HasFatalFailure());
        }
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operations, GuardOrder,
                         testing::Range(std::size_t{0}, std::size(kOperations)),
                         [](const auto& row) { return WideToUtf8(kOperations[row.param].name); });

}  // namespace
}  // namespace Halvard::MigratorSvc
