// What the copying operations come to.
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using Testing::TheSurroundings;

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

  static std::wstring FrenchError(std::uint16_t message) { return Message(kFrench, message); }

  static std::string LogsZip() {
    return WideToUtf8(Lab::Instance::kProfile) + "\\AppData\\Local\\Ostrel\\Halvard\\logs.zip";
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

}  // namespace
}  // namespace Halvard::MigratorSvc
