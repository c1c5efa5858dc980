// The service of a whole agent, asked by its client over TLS.
#include "serving_agent.h"

namespace Halvard {
namespace {

using Testing::AgentRun;
using testing::AllOf;
using Testing::ClientRun;
using testing::Contains;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;

const std::vector<std::wstring> kSsh = {L"--ssh-server",     L"new.example", L"--ssh-folder",
                                        L"/storage",         L"--ssh-user",  L"root",
                                        L"--ssh-thumbprint", L"AA:BB"};

std::vector<std::wstring> WithSsh(const std::wstring& command) {
  std::vector<std::wstring> words{command};
  words.insert(words.end(), kSsh.begin(), kSsh.end());
  return words;
}

std::wstring FailedReply(const std::wstring& error) {
  return L"{\n   \"error\" : \"" + error + L"\",\n   \"result\" : \"fail\"\n}\n";
}

TEST(Service, EachOperationAnswersItsCommand) {
  struct Row {
    std::vector<std::wstring> command;
    std::wstring error;
    std::wstring operation;
  };
  const std::vector<Row> rows = {
      {{L"export", L"--options", L"{}", L"--silent"}, English(1066), L"InvokeExport"},
      {{L"answer", L"--answer", L"\"yes\""}, English(1082), L"CreateAnswerFile"},
      {WithSsh(L"copy-export"), English(1073), L"CopyExportData"},
      {{L"shutdown-machine"}, English(1093), L"ShutdownMachine"},
      {{L"shutdown-agent"}, English(1172, {L"ShutdownHv"}), L"ShutdownHv"},
      {{L"check-directory-account", L"--ad-user", L"maria"},
       English(1203),
       L"ValidateActiveDirectoryCredentials"},
  };
  ServingAgent agent;
  const ClientRun type = agent.Ask({L"deployment-type"});
  EXPECT_EQ(type.exitCode, 0) << WideToUtf8(type.errors);
  EXPECT_EQ(type.output,
            L"{\n   \"deployment_size\" : \"Small\",\n   \"deployment_type\" : \"embedded\",\n"
            L"   \"deployment_ver\" : \"5.5\",\n   \"error\" : \"\",\n"
            L"   \"hv_kvsa_version\" : \"6.0.0.14510545\",\n   \"result\" : \"success\"\n}\n");
  for (const Row& row : rows) {
    SCOPED_TRACE(WideToUtf8(row.operation));
    const ClientRun run = agent.Ask(row.command);
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.output, FailedReply(row.error));
    EXPECT_EQ(run.errors, row.error + L"\n");
  }
  const ClientRun logs = agent.Ask(WithSsh(L"copy-logs"));
  EXPECT_EQ(logs.exitCode, 1);
  EXPECT_EQ(logs.output,
            L"{\n   \"error\" : \"" + English(1076) + L"\",\n   \"result\" : 1076\n}\n");
  const ClientRun status = agent.Ask({L"export-status"});
  EXPECT_EQ(status.exitCode, 0);
  EXPECT_EQ(status.output, L"null\n");
  EXPECT_EQ(status.errors, L"The export has written nothing yet, or is writing at this moment.\n");
  const AgentRun run = agent.Stop();
  for (const Row& row : rows) {
    EXPECT_THAT(run.log,
                Contains(InfoLine(L"Entering function: Halvard::MigratorSvc::AsyncServiceImpl::" +
                                  row.operation)));
  }
  EXPECT_THAT(run.allOutput, AllOf(Not(HasSubstr(Testing::kAcceptedPassword)),
                                   Not(HasSubstr(L"ssh-secret")), Not(HasSubstr(L"ad-secret"))));
}

TEST(Service, PasswordMayComeOverStandardInput) {
  ServingAgent agent;
  const std::vector<std::wstring> words = {L"deployment-type", L"--user", kUser, L"--password-file",
                                           L"-"};
  EXPECT_EQ(agent.Command(words, WideToUtf8(Testing::kAcceptedPassword) + "\n").exitCode, 0);
  const ClientRun wrong = agent.Command(words, "wrong\n");
  EXPECT_EQ(wrong.exitCode, 1);
  EXPECT_EQ(wrong.errors, English(1098) + L"\n");
  EXPECT_EQ(agent.Command(words).errors, English(1096) + L"\n");
  agent.Stop();
}

TEST(Service, ErrorsCrossTheWireInTheClientsLanguage) {
  ServingAgent agent;
  struct Language {
    const wchar_t* name;
    std::uint16_t id;
  };
  for (const Language& language :
       {Language{L"de", 1031}, Language{L"es", 1034}, Language{L"fr", 1036}, Language{L"ja", 1041},
        Language{L"ko", 1042}, Language{L"zh_CN", 2052}, Language{L"zh_TW", 1028},
        Language{L"xx", 1033}}) {
    const ClientRun run = agent.Ask({L"export", L"--locale", language.name});
    EXPECT_EQ(run.errors, Message(language.id, 1066) + L"\n");
  }
  EXPECT_THAT(agent.Stop().console, HasSubstr(English(1195) + L"\n" + English(1066) + L"\n"));
}

TEST(Service, FramedAnswerHasTheSameReply) {
  ServingAgent agent;
  const ClientRun plain = agent.Ask({L"deployment-type"});
  const ClientRun framed = agent.Ask({L"deployment-type", L"--framed"});
  EXPECT_EQ(framed.exitCode, 0) << WideToUtf8(framed.errors);
  EXPECT_EQ(framed.output, plain.output);
  agent.Stop();
}

TEST(Service, OddInputsAreAnsweredOverTheWire) {
  ServingAgent agent;
  const std::wstring unreadable =
      L"Internal error. Failed to convert input string to Json object.\n";
  for (const std::string& input :
       {std::string("{\"locale\":[]}"), std::string("{\"sso_username\":{},\"locale\":\"de\"}"),
        "{\"locale\":" + std::string(990, '[') + std::string(990, ']') + "}"}) {
    const ClientRun run = agent.Command({L"call", L"poll_export_status", L"-"}, input);
    EXPECT_EQ(run.exitCode, 1) << input.substr(0, 60);
    EXPECT_EQ(run.errors, unreadable);
  }
  EXPECT_EQ(agent.Ask({L"deployment-type"}).exitCode, 0);
  agent.Stop();
}

TEST(Service, UnknownOperationIsAnErrorOfTheApi) {
  ServingAgent agent;
  const ClientRun run = agent.Command({L"call", L"format_disk"});
  EXPECT_EQ(run.exitCode, 5);
  EXPECT_THAT(run.errors, HasSubstr(L"Interface missing method: halvard.migrator[format_disk]"));
  agent.Stop();
}

}  // namespace
}  // namespace Halvard
