// What the copying operations and the shutdown of the machine come to.
#include <fstream>

#include "core/server_lifetime.h"
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::ElementsAre;
using Testing::ErrorLine;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using testing::SizeIs;
using Testing::TheSurroundings;
using Testing::WarningLine;

constexpr char kSuccess[] = "{\n   \"error\" : \"\",\n   \"result\" : \"success\"\n}\n";

class CopyOperations : public ServiceTest {
 protected:
  CopyOperations() {
    SpeakMachineLanguage(kGerman);
    gProperties[L"EXPORT_DIR"] = L"D:\\out\u00e4\\export";
    gProperties[L"EXPORT_STATUS"] = L"FINISHED";
    gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
    gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
    gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
    machine_.PlanFault({.function = "CreateThread", .error = 8});
  }

  static Json::Value CopyRequest() {
    Json::Value request = GoodRequest("fr");
    request["ssh_server"] = "new.example";
    request["ssh_folder"] = "/storage/m\u00e4";
    request["ssh_user"] = "root";
    request["ssh_password"] = "ssh-secret";
    request["ssh_thumbprint"]["rsa"] = "AA:BB";
    return request;
  }

  CallResult CopyExport(const Json::Value& request = CopyRequest()) {
    Testing::CheckCalls().clear();
    return Call(&AsyncServiceInterface::CopyExportData, request);
  }
  CallResult CopyLogs(const Json::Value& request = CopyRequest()) {
    Testing::CheckCalls().clear();
    return Call(&AsyncServiceInterface::CopyLogsDirectory, request);
  }
  CallResult ShutDown() { return Call(&AsyncServiceInterface::ShutdownMachine, GoodRequest("fr")); }

  static std::wstring FrenchError(std::uint16_t message) { return Message(kFrench, message); }

  static std::string LogsZip() {
    return WideToUtf8(Lab::Instance::kProfile) + "\\AppData\\Local\\Ostrel\\Halvard\\logs.zip";
  }

  Json::Value ShutdownRecord() const {
    Json::Value record;
    std::ifstream file(machine_.Folder() / "shutdown.json");
    if (file) file >> record;
    return record;
  }
};

TEST_F(CopyOperations, ExportIsZippedBesideItsFolderAndSent) {
  const CallResult result = CopyExport();
  EXPECT_EQ(result.text, kSuccess);
  EXPECT_THAT(
      Testing::CheckCalls(),
      ElementsAre("ZipUtil_CreateExportZip(D:\\out\u00e4\\export.zip, D:\\out\u00e4\\export)",
                  "ScpFileWithRetries(new.example, /storage/m\u00e4/export.zip, root, ssh-secret, "
                  "AA:BB, D:\\out\u00e4\\export.zip)"));
  EXPECT_EQ(result.console, Message(kGerman, 1197) + L"\n" + Message(kGerman, 1075) + L"\n");
}

TEST_F(CopyOperations, ExportThatCannotBeZippedIsAnsweredInTheZipsWords) {
  TheSurroundings().exportZipError = L"Nicht gepackt \u8a66";
  const CallResult result = CopyExport();
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(result.Error(), "Nicht gepackt \u8a66");
  EXPECT_THAT(Testing::CheckCalls(), SizeIs(1));
  EXPECT_EQ(result.console, Message(kGerman, 1197) + L"\n");
}

TEST_F(CopyOperations, ExportThatDoesNotArriveIsAFailureInTheClientsLanguage) {
  TheSurroundings().filesArrive = false;
  const CallResult result = CopyExport();
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), FrenchError(1074));
  EXPECT_EQ(result.console, Message(kGerman, 1197) + L"\n");
}

TEST_F(CopyOperations, ThumbprintMayBeLeftOut) {
  Json::Value request = CopyRequest();
  request["ssh_thumbprint"] = Json::Value(Json::objectValue);
  EXPECT_EQ(CopyExport(request).text, kSuccess);
  EXPECT_THAT(Testing::CheckCalls()[1], HasSubstr("ssh-secret, , D:"));
  request.removeMember("ssh_thumbprint");
  EXPECT_EQ(CopyExport(request).text, kSuccess);
  EXPECT_THAT(Testing::CheckCalls()[1], HasSubstr("ssh-secret, , D:"));
}

TEST_F(CopyOperations, MembersOfTheWrongKindEndInAReply) {
  for (const char* member : {"ssh_server", "ssh_folder", "ssh_user", "ssh_password"}) {
    Json::Value request = CopyRequest();
    request[member] = Json::Value(Json::arrayValue);
    EXPECT_TRUE(CopyExport(request).Failed()) << member;
    EXPECT_TRUE(CopyLogs(request).Failed()) << member;
  }
  Json::Value request = CopyRequest();
  request["ssh_thumbprint"] = "AA:BB";
  EXPECT_TRUE(CopyExport(request).Failed());
  EXPECT_THAT(Testing::CheckCalls(), testing::IsEmpty());
}

TEST_F(CopyOperations, LogsAreBundledInTheAgentsFolderAndSent) {
  const CallResult result = CopyLogs();
  EXPECT_EQ(result.text, kSuccess);
  EXPECT_THAT(Testing::CheckCalls(),
              ElementsAre("CreateLogsZipBundle(" + LogsZip() + ")",
                          "ScpFileWithRetries(new.example, /storage/m\u00e4/logs.zip, root, "
                          "ssh-secret, AA:BB, " +
                              LogsZip() + ")"));
  EXPECT_EQ(result.console, Message(kGerman, 1198) + L"\n" + Message(kGerman, 1078) + L"\n");
}

TEST_F(CopyOperations, LogsThatCannotBeBundledAreToldWithoutALineEnd) {
  TheSurroundings().logsAreBundled = false;
  const CallResult result = CopyLogs();
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(Utf8ToWide(result.Error()), FrenchError(1077));
  EXPECT_EQ(result.console, Message(kGerman, 1198) + L"\n" + Message(kGerman, 1077));
}

TEST_F(CopyOperations, LogsThatDoNotArriveAnswerTheMessagesNumber) {
  TheSurroundings().filesArrive = false;
  const CallResult result = CopyLogs();
  EXPECT_TRUE(result.reply["result"].isInt());
  EXPECT_EQ(result.reply["result"], 1076);
  EXPECT_EQ(Utf8ToWide(result.Error()), FrenchError(1076));
  EXPECT_THAT(result.text, HasSubstr("\"result\" : 1076\n"));
  EXPECT_EQ(result.console, Message(kGerman, 1198) + L"\n");
}

TEST_F(CopyOperations, PasswordsAreNotLogged) {
  TheSurroundings().filesArrive = false;
  for (const auto& line : CopyExport().log) EXPECT_THAT(line.message, Not(HasSubstr(L"secret")));
}

TEST_F(CopyOperations, MachineIsShutDownWithAMessageInTheOperatorsLanguage) {
  const CallResult result = ShutDown();
  EXPECT_EQ(result.text, kSuccess);
  EXPECT_EQ(Utf8ToWide(ShutdownRecord()["message"].asString()), Message(kGerman, 1095));
  EXPECT_EQ(result.console, Message(kGerman, 1051) + L"\n");
  // The agent couldn't be ended, which nobody looks at.
  EXPECT_THAT(
      result.log,
      testing::IsSupersetOf(
          {WarningLine(L"CreateChildThreadToShutdownHV: Failed to create thread to "
                       L"initiate halvard shutdown. Error code: 8"),
           InfoLine(FullName(L"ShutdownMachine") + L": Successfully initiated shutdown.")}));
}

TEST_F(CopyOperations, ShutdownThatFailsEndsTheAgentAllTheSame) {
  machine_.PlanFault({.function = "InitiateShutdownW", .error = 1115});
  const CallResult result = ShutDown();
  EXPECT_TRUE(result.Failed());
  EXPECT_EQ(result.Error(), "Failed to shutdown the remote Kelvane Server Windows machine.");
  EXPECT_TRUE(ShutdownRecord().isNull());
  EXPECT_THAT(result.log,
              testing::IsSupersetOf(
                  {WarningLine(L"CreateChildThreadToShutdownHV: Failed to create thread to "
                               L"initiate halvard shutdown. Error code: 8"),
                   ErrorLine(FullName(L"ShutdownMachine") +
                             L": Failed to initiate shutdown. Error code: [1115].")}));
}

TEST_F(CopyOperations, ShutdownIsRefusedBeforeAndDuringAnExport) {
  gProperties[L"EXPORT_STATUS"] = L"NOT_STARTED";
  EXPECT_EQ(Utf8ToWide(ShutDown().Error()), FrenchError(1093));
  gProperties[L"EXPORT_STATUS"] = L"RUNNING";
  EXPECT_EQ(Utf8ToWide(ShutDown().Error()), FrenchError(1094));
  EXPECT_TRUE(ShutdownRecord().isNull());
}

}  // namespace
}  // namespace Halvard::MigratorSvc
