// Whose language a text is in: the client's in a reply, the operator's on the console, English in
// the log.
#include "service_test.h"

namespace Halvard::MigratorSvc {
namespace {

using testing::Contains;
using Testing::ErrorLine;
using Testing::InfoLine;
using Testing::WarningLine;

struct Language {
  const char* name;
  std::uint16_t id;
};
constexpr Language kLanguages[] = {{"zh_TW", 1028}, {"de", 1031}, {"en", 1033},    {"fr", 1036},
                                   {"ja", 1041},    {"ko", 1042}, {"zh_CN", 2052}, {"es", 1034}};

class Locale : public ServiceTest {
 protected:
  static constexpr Slot kInvokeExport = &AsyncServiceInterface::InvokeExport;
  static constexpr Slot kPoll = &AsyncServiceInterface::PollExportStatus;

  static std::wstring ErrorOf(const CallResult& result) { return Utf8ToWide(result.Error()); }
};

TEST_F(Locale, PhaseRefusalReachesEachClientInItsLanguage) {
  SpeakMachineLanguage(kGerman);
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  for (const Language& client : kLanguages) {
    const CallResult result = Call(kInvokeExport, GoodRequest(client.name));
    EXPECT_EQ(ErrorOf(result), Message(client.id, 1066)) << client.name;
    EXPECT_EQ(result.console, Message(kGerman, 1195) + L"\n" + Message(kGerman, 1066) + L"\n");
    EXPECT_THAT(result.log,
                Contains(ErrorLine(FullName(L"InvokeExport") + L": " + Message(kEnglish, 1066))));
    EXPECT_EQ(WideToUtf8(gProperties[L"MC_LOCALE"].Value()), client.name);
  }
}

TEST_F(Locale, RefusedCredentialsReachEachClientInItsLanguage) {
  for (const Language& client : kLanguages) {
    Json::Value request = GoodRequest(client.name);
    request["sso_password"] = "wrong";
    EXPECT_EQ(ErrorOf(Call(kPoll, request)), Message(client.id, 1098)) << client.name;
    request["sso_password"] = "";
    EXPECT_EQ(ErrorOf(Call(kPoll, request)), Message(client.id, 1096)) << client.name;
  }
}

TEST_F(Locale, OperatorReadsEachMessageInTheMachinesLanguage) {
  for (const Language& machine : kLanguages) {
    // A machine reports its Spanish by another id than the texts carry.
    SpeakMachineLanguage(machine.id == 1034 ? 3082 : machine.id);
    // The thread speaks it from its start on; here the test's thread is told.
    (void)SetThreadUILanguage(machine.id);
    gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"RUNNING";
    const CallResult result = Call(kInvokeExport, GoodRequest("ko"));
    EXPECT_EQ(result.console,
              Message(machine.id, 1195) + L"\n" + Message(machine.id, 1067) + L"\n");
    EXPECT_EQ(ErrorOf(result), Message(1042, 1067));
  }
}

TEST_F(Locale, UnsupportedLocaleInTheMiddleOfARunMeansEnglish) {
  SpeakMachineLanguage(kGerman);
  Json::Value request = GoodRequest("fr");
  request["sso_password"] = "wrong";
  EXPECT_EQ(ErrorOf(Call(kPoll, request)), Message(kFrench, 1098));
  request["locale"] = "fr_FR";
  const CallResult result = Call(kPoll, request);
  EXPECT_EQ(ErrorOf(result), Message(kEnglish, 1098));
  EXPECT_EQ(gProperties[L"MC_LOCALE"].Value(), L"en");
  EXPECT_THAT(result.log,
              Contains(WarningLine(L"SetMCLocale: Client locale: fr_FR is not supported.")));
  request["locale"] = "fr";
  EXPECT_EQ(ErrorOf(Call(kPoll, request)), Message(kFrench, 1098));
}

TEST_F(Locale, UnsupportedLocaleGetsPhaseRefusalsInEnglish) {
  SpeakMachineLanguage(kGerman);
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  for (const char* locale : {"zz", "DE", "de-DE", "", " de", "\xff"}) {
    EXPECT_EQ(ErrorOf(Call(kInvokeExport, GoodRequest(locale))), Message(kEnglish, 1066)) << locale;
  }
}

TEST_F(Locale, PhaseRefusalGoesByTheRequestAndCredentialsGoByWhatWasKept) {
  const auto asksFor = [](const std::wstring& locale) {
    return Contains(
        WarningLine(L"LocaleHandler::SetLocale: Client locale: " + locale + L" is not supported."));
  };
  SpeakMachineLanguage(kGerman);
  gProperties[L"PREUPGRADE_CHECKS_STATUS"] = L"NOT_STARTED";
  EXPECT_THAT(Call(kInvokeExport, GoodRequest("zz")).log, asksFor(L"zz"));
  Json::Value request = GoodRequest("zz");
  request["sso_password"] = "wrong";
  EXPECT_THAT(Call(kPoll, request).log, testing::Not(asksFor(L"zz")));
  request["sso_password"] = "";
  EXPECT_THAT(Call(kPoll, request).log, testing::Not(asksFor(L"zz")));
  EXPECT_THAT(Call(&AsyncServiceInterface::ShutdownHv, GoodRequest("zz")).log,
              testing::Not(asksFor(L"zz")));
  EXPECT_THAT(
      Call(&AsyncServiceInterface::ValidateActiveDirectoryCredentials, GoodRequest("zz")).log,
      asksFor(L"zz"));
}

TEST_F(Locale, SecondCallInTheSameLanguageChangesNothing) {
  (void)Call(kPoll, GoodRequest("de"));
  EXPECT_THAT(Call(kPoll, GoodRequest("de")).log,
              Contains(InfoLine(L"SetMCLocale: Client locale is already set to: de")));
}

TEST_F(Locale, ClientWithoutALocaleGetsEnglish) {
  SpeakMachineLanguage(kGerman);
  const CallResult result = CallWithText(kPoll, "{}");
  EXPECT_EQ(ErrorOf(result), Message(kEnglish, 1096));
  EXPECT_EQ(gProperties[L"MC_LOCALE"].Value(), L"en");
}

TEST_F(Locale, LackingOperationIsToldInTheClientsLanguage) {
  for (const Language& client : kLanguages) {
    const CallResult result = Call(&AsyncServiceInterface::ShutdownHv, GoodRequest(client.name));
    EXPECT_EQ(ErrorOf(result), Message(client.id, 1172, L"ShutdownHv"));
  }
}

}  // namespace
}  // namespace Halvard::MigratorSvc
