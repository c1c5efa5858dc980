// The prechecks over the API: what the two operations answer, and what they ask for it.
#include "precheck_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using Testing::InfoLine;
using testing::Not;
using testing::StartsWith;
using Testing::WarningLine;

TEST_F(PrecheckOperations, ReplyIsAnsweredToTheByte) {
  EXPECT_EQ(Invoke().text, R"({
   "componentRequirements" : [
      {
         "further" : {
            "kept" : true
         },
         "name" : "com.ostrel.keldb"
      }
   ],
   "error" : "",
   "result" : "success",
   "sourceInfo" : {
      "adDcAddress" : "\\\\192.0.2.1",
      "adDcIpv4Addresses" : "192.0.2.1,192.0.2.2",
      "adDcIpv6Addresses" : "fd00::1",
      "adDcName" : "\\\\dc1.corp",
      "adDomainName" : "corp.\u00e4xample",
      "deploymentType" : "embedded",
      "hv_kvsa_version" : "6.0.0.14510545",
      "infrastructureComponent" : {
         "domainName" : "ostrel.local",
         "fqdn" : "localhost",
         "httpsPort" : 443,
         "version" : "5.5"
      },
      "inventoryInfo" : {
         "deploymentSize" : "Tiny",
         "hostCount" : 3,
         "vmCount" : 14
      },
      "sourceVersion" : "5.5"
   }
}
)");
}

TEST_F(PrecheckOperations, RunAsksForAllAndTellsTheOperator) {
  SpeakMachineLanguage(kGerman);
  const CallResult result = Invoke();
  EXPECT_EQ(result.console, Message(kGerman, 1044) + L"\n" + Message(kGerman, 1092) + L"\n");
  EXPECT_THAT(
      Testing::CheckCalls(),
      ElementsAre("ValidateKvAdminCredentials(localhost, 443, , , administrator@ostrel.local)",
                  "GetInventorySize(localhost, 443, , , administrator@ostrel.local)"));
  EXPECT_THAT(
      result.log,
      testing::IsSupersetOf({InfoLine(L"RetrievePreCheckResults: Inventory size retrieved. Num of "
                                      L"Hosts: 3, Num of VMs: 14"),
                             InfoLine(L"RetrievePreCheckResults: Populating deployment size as: "
                                      L"Tiny")}));
  EXPECT_THAT(result.log,
              Contains(testing::Field(&Testing::LogLine::message,
                                      StartsWith(L"RetrievePreCheckResults: Returning source info: "
                                                 L"{\n   \"adDcAddress\""))));
}

TEST_F(PrecheckOperations, CachedResultAsksForAllButTheFindings) {
  SpeakMachineLanguage(kGerman);
  Testing::TheSurroundings().duringPrechecks = [] { FAIL() << "The runner was started."; };
  const CallResult result = Cached();
  EXPECT_EQ(result.reply["componentRequirements"], Findings("earlier"));
  EXPECT_EQ(result.reply["sourceInfo"]["inventoryInfo"]["vmCount"], 14);
  EXPECT_EQ(result.console, Message(kGerman, 1189) + L"\n" + Message(kGerman, 1190) + L"\n");
  EXPECT_THAT(Testing::CheckCalls(), Contains(StartsWith("GetInventorySize")));
  EXPECT_THAT(result.log,
              Contains(InfoLine(L"RetrievePreCheckResults: Returning cached precheck results")));
  EXPECT_EQ(gProperties[L"PREUPGRADE_CHECKS_STATUS"].Value(), L"FINISHED");
}

TEST_F(PrecheckOperations, CachedFindingsAreThoseOfTheLastRun) {
  (void)Invoke();
  EXPECT_EQ(Cached().reply["componentRequirements"], Findings("com.ostrel.keldb"));
  // Also of one that failed and left none.
  Testing::TheSurroundings().precheckOutput = Json::Value();
  Testing::TheSurroundings().precheckCode = 1603;
  (void)Invoke();
  const CallResult result = Cached();
  EXPECT_FALSE(result.Failed());
  EXPECT_TRUE(result.reply.isMember("componentRequirements"));
  EXPECT_TRUE(result.reply["componentRequirements"].isNull());
}

TEST_F(PrecheckOperations, FindingsGoToTheClientWhateverTheyAre) {
  for (const char* text : {"[]", "{}", "null", "7", "\"text\"", "[[[]]]", R"([{"name": null}])"}) {
    Json::Value findings;
    ASSERT_TRUE(Json::Reader().parse(std::string("[") + text + "]", findings));
    Testing::TheSurroundings().precheckOutput = findings[0];
    EXPECT_EQ(Invoke().reply["componentRequirements"], findings[0]);
  }
}

TEST_F(PrecheckOperations, WhileTheyRunOthersAreToldSo) {
  CallResult result;
  Testing::TheSurroundings().duringPrechecks = [&] {
    result = Invoke();
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1086));
    result = Call(&AsyncServiceInterface::InvokeExport, GoodRequest());
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kEnglish, 1067));
    // The findings of the run before are there all the time.
    EXPECT_EQ(Cached().reply["componentRequirements"], Findings("earlier"));
  };
  EXPECT_FALSE(Invoke().Failed());
}

struct TypeMembers {
  const wchar_t* type;
  int hosts;
  bool hasDomain;
};

class SourceOfType : public PrecheckOperations, public testing::WithParamInterface<TypeMembers> {};

TEST_P(SourceOfType, HasItsMembers) {
  gProperties[L"MIGRATION_TYPE"] = GetParam().type;
  gProperties[L"SSO_STS_URL"] = L"https://n:7444/sts/STSService/ostrel.local";
  gProperties[L"DST_DEPLOYMENT_SIZE"] = L"Large";
  Testing::TheSurroundings().controllerVersion = L"5.5";
  for (const Slot slot : {kInvoke, kCached}) {
    const Json::Value source = Call(slot, GoodRequest()).reply["sourceInfo"];
    EXPECT_EQ(Utf8ToWide(source["deploymentType"].asString()), GetParam().type);
    EXPECT_EQ(source["inventoryInfo"]["hostCount"], GetParam().hosts);
    EXPECT_EQ(source["inventoryInfo"]["vmCount"], GetParam().hosts == 0 ? 0 : 14);
    EXPECT_EQ(source["inventoryInfo"]["deploymentSize"], "Large");
    for (const char* member : {"adDomainName", "adDcName", "adDcAddress", "adDcIpv4Addresses",
                               "adDcIpv6Addresses", "infrastructureComponent"}) {
      EXPECT_EQ(source.isMember(member), GetParam().hasDomain) << member;
    }
    EXPECT_EQ(source.size(), GetParam().hasDomain ? 10u : 4u);
  }
}

INSTANTIATE_TEST_SUITE_P(Types, SourceOfType,
                         testing::Values(TypeMembers{L"embedded", 3, true},
                                         TypeMembers{L"management", 3, true},
                                         TypeMembers{L"infrastructure", 0, true},
                                         TypeMembers{L"tum", 0, false}));

TEST_F(PrecheckOperations, UpdateManagerNeedsNoSystemName) {
  gProperties[L"MIGRATION_TYPE"] = L"tum";
  gProperties[L"APP_NET_PNID"] = L"";
  Testing::TheSurroundings().domain.reset();
  EXPECT_FALSE(Invoke().Failed());
}

TEST_F(PrecheckOperations, MachineOutsideADomainHasEmptyMembers) {
  Testing::TheSurroundings().domain = Network::ActiveDirectoryConfig{};
  const Json::Value source = Invoke().reply["sourceInfo"];
  EXPECT_EQ(source["adDomainName"], "");
  EXPECT_EQ(source["adDcName"], "");
}

/// A failure: how it comes about, what the client and what the operator is told.
struct PrecheckFailure {
  const char* title;
  void (*arrange)(Lab::Instance&);
  std::uint16_t message;
  bool alsoCached;
  bool hasRun;
};

void WithoutInventory(Lab::Instance& machine) {
  machine.RemoveVariable(Testing::kInventoryVariable);
}
void WithoutDomain(Lab::Instance&) { Testing::TheSurroundings().domain.reset(); }
void WithFailingRunner(Lab::Instance&) { Testing::TheSurroundings().precheckCode = 1603; }
void WithoutComponent(Lab::Instance&) {
  gProperties[L"MIGRATION_TYPE"] = L"management";
  gProperties[L"SSO_STS_URL"] = L"https://n/other";
}

class FailedPrechecks : public PrecheckOperations,
                        public testing::WithParamInterface<PrecheckFailure> {};

TEST_P(FailedPrechecks, AreToldInEachReadersLanguageAndHaveNoFurtherMembers) {
  SpeakMachineLanguage(kGerman);
  GetParam().arrange(machine_);
  for (const PrecheckOperation& operation : kBoth) {
    if (operation.slot == kCached && !GetParam().alsoCached) continue;
    const CallResult result = Call(operation.slot, GoodRequest("fr"));
    EXPECT_TRUE(result.Failed());
    EXPECT_EQ(Utf8ToWide(result.Error()), Message(kFrench, GetParam().message));
    EXPECT_EQ(result.reply.size(), 2u);
    std::wstring console;
    if (operation.slot == kCached) console += Message(kGerman, 1189) + L"\n";
    if (operation.slot == kInvoke && GetParam().message > 1088) {
      console += Message(kGerman, 1044) + L"\n";
      if (GetParam().hasRun) console += Message(kGerman, 1092) + L"\n";
    }
    EXPECT_EQ(result.console, console + Message(kGerman, GetParam().message) + L"\n");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Steps, FailedPrechecks,
    testing::Values(PrecheckFailure{"Inventory", WithoutInventory, 1087, true, false},
                    PrecheckFailure{"Domain", WithoutDomain, 1088, true, false},
                    PrecheckFailure{"Runner", WithFailingRunner, 1091, false, false},
                    PrecheckFailure{"Component", WithoutComponent, 1090, true, true}),
    [](const auto& row) { return std::string(row.param.title); });

TEST_F(PrecheckOperations, WithoutASystemNameTheClientIsToldWhatTheChoiceFoundOut) {
  SpeakMachineLanguage(kGerman);
  gProperties[L"APP_NET_PNID"] = L"";
  const CallResult result = Invoke("fr");
  EXPECT_EQ(result.text,
            "{\n   \"error\" : \"Kein Name \\u6771\\u4eac\",\n   \"result\" : "
            "\"fail\"\n}\n");
  EXPECT_EQ(result.console, Message(kGerman, 1044) + L"\n" + Message(kGerman, 1092) + L"\n" +
                                Message(kGerman, 1089) + L"\n");
  // The cached document was there before.
  EXPECT_FALSE(Cached("fr").Failed());
}

TEST_F(PrecheckOperations, InventoryIsCountedBeforeAnythingElse) {
  WithoutInventory(machine_);
  Testing::TheSurroundings().duringPrechecks = [] { FAIL() << "The runner was started."; };
  EXPECT_THAT(Invoke().log,
              Not(Contains(testing::Field(&Testing::LogLine::message,
                                          HasSubstr(L"Populating deployment size")))));
}

TEST_F(PrecheckOperations, AfterTheExportTheServerIsStillAskedAndMissed) {
  WithoutInventory(machine_);
  gProperties[L"EXPORT_STATUS"] = L"FINISHED";
  gProperties[L"EXPORT_RESULT"] = L"SUCCESS";
  gProperties[L"SSO_USERNAME"] = L"administrator@ostrel.local";
  gProperties[L"SSO_PASSWORD"] = Testing::kAcceptedPassword;
  for (const wchar_t* type : {L"embedded", L"management"}) {
    gProperties[L"MIGRATION_TYPE"] = type;
    EXPECT_EQ(Utf8ToWide(Cached().Error()), Message(kEnglish, 1087));
  }
}

TEST_F(PrecheckOperations, RequestWithoutTextsInAPhaseThatChecksNoneIsStillAnswered) {
  gProperties[L"EXPORT_STATUS"] = L"PAUSED";
  Json::Value request = GoodRequest();
  request["sso_username"] = Json::Value(Json::arrayValue);
  EXPECT_EQ(Call(kCached, request).Error(),
            "Internal error. Failed to convert input string to Json object.");
}

TEST_F(PrecheckOperations, OutputOfWrongTypesIsAnsweredAndNamedInTheLog) {
  // As the runner's phase ends then, behind a line of its own.
  Testing::TheSurroundings().duringPrechecks = [] { throw Json::LogicError("no object"); };
  const CallResult result = Invoke("fr");
  EXPECT_EQ(result.Error(), "Internal error. Failed to convert input string to Json object.");
  EXPECT_EQ(result.reply.size(), 2u);
  EXPECT_THAT(result.log,
              Contains(WarningLine(
                  FullName(L"InvokePreUpgrade") +
                  L": The request, or the Upgrade Runner's output, can't be read: no object")));
}

}  // namespace
}  // namespace Halvard::MigratorSvc
