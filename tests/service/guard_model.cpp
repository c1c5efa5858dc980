#include "guard_model.h"

#include <iterator>

namespace Halvard::MigratorSvc {
namespace {

using Testing::ErrorLine;
using Testing::InfoLine;

/// Who can use an operation.
enum class For { kAll, kAllButUpdateManager, kUpdateManager };

struct PhaseRefusal {
  std::wstring property;
  std::wstring value;
  std::uint16_t message;
};

const std::wstring kExportOutput = std::wstring(Lab::Instance::kProfile) +
                                   L"\\AppData\\Local\\Temp\\UpgradeRunnerExportOutput.json";
const std::wstring kLogsZip =
    std::wstring(Lab::Instance::kProfile) + L"\\AppData\\Local\\Ostrel\\Halvard\\logs.zip";

/// What an operation that passed its guards does on this test's machine.
enum class Work {
  kDescribesDeployment,
  kAnswersPreparedPrechecks,
  kAsksForDomain,
  kCollectsNetwork,
  kStartsExport,
  kShowsExport,
  kAnswersQuestion,
  kCopiesExport,
  kCopiesLogs,
  kShutsDown,
  kEndsAgent,
  kLogsOn,
};

/// An operation's own way to its work. Messages are 0 where it has none.
struct Way {
  std::uint16_t announcement;
  std::vector<PhaseRefusal> refusals;
  std::uint16_t beforeCredentials;
  For availability;
  std::uint16_t beforeWork;
  Work work;
};

const PhaseRefusal kExportRuns1085{L"EXPORT_STATUS", L"RUNNING", 1085};
const PhaseRefusal kChecksRun1086{L"PREUPGRADE_CHECKS_STATUS", L"RUNNING", 1086};
const PhaseRefusal kChecksMissing1066{L"PREUPGRADE_CHECKS_STATUS", L"NOT_STARTED", 1066};
const PhaseRefusal kChecksRun1067{L"PREUPGRADE_CHECKS_STATUS", L"RUNNING", 1067};
const PhaseRefusal kExportRuns1068{L"EXPORT_STATUS", L"RUNNING", 1068};
const PhaseRefusal kExportMissing1093{L"EXPORT_STATUS", L"NOT_STARTED", 1093};
const PhaseRefusal kExportRuns1094{L"EXPORT_STATUS", L"RUNNING", 1094};
const PhaseRefusal kExportRuns1170{L"EXPORT_STATUS", L"RUNNING", 1170};

/// In the order of kOperations.
const Way kWays[] = {
    {1192, {}, 0, For::kAll, 0, Work::kDescribesDeployment},
    {0, {kExportRuns1085, kChecksRun1086}, 0, For::kAll, 0, Work::kAnswersPreparedPrechecks},
    {0, {}, 0, For::kAll, 1189, Work::kAnswersPreparedPrechecks},
    {1193, {}, 0, For::kAllButUpdateManager, 0, Work::kAsksForDomain},
    {1194, {}, 0, For::kAllButUpdateManager, 0, Work::kCollectsNetwork},
    {1195,
     {kChecksMissing1066, kChecksRun1067, kExportRuns1068},
     0,
     For::kAll,
     0,
     Work::kStartsExport},
    {0, {}, 0, For::kAll, 0, Work::kShowsExport},
    {1196, {}, 0, For::kAll, 0, Work::kAnswersQuestion},
    {1197, {}, 0, For::kAll, 0, Work::kCopiesExport},
    {1198, {}, 0, For::kAll, 0, Work::kCopiesLogs},
    {0,
     {kExportMissing1093, kExportRuns1094},
     1051,
     For::kAllButUpdateManager,
     0,
     Work::kShutsDown},
    {0, {kExportRuns1170}, 0, For::kUpdateManager, 0, Work::kEndsAgent},
    {0, {}, 0, For::kAllButUpdateManager, 1201, Work::kLogsOn},
};
static_assert(std::size(kWays) == std::size(kOperations), "each operation has its way");

const std::wstring kUser = L"Administrator@ostrel.local";
const std::wstring kRight = Testing::kAcceptedPassword;

/// Makes up what is expected, step by step.
class Expectation : public ExpectedCall {
 public:
  Expectation(const KnownOperation& operation, const Way& way, const Cell& cell)
      : name_(FullName(operation.name)), shortName_(operation.name), way_(way), cell_(cell) {
    cachedUser = cell.credentials.cachedUser;
    cachedPassword = cell.credentials.cachedPassword;
    log.push_back(InfoLine(L"Entering function: " + name_));
    log.push_back(InfoLine(L"SetMCLocale: Client locale: fr is supported"));
    Show(way.announcement);
    if (!RefusedInPhase()) GoOn();
    log.push_back(InfoLine(L"Leaving function: " + name_));
  }

 private:
  void Show(std::uint16_t message) {
    if (message != 0) console += Message(kGerman, message) + L"\n";
  }

  /// Fetching a text in another language than the operator's leaves a line.
  void Speak(const wchar_t* locale) {
    log.push_back(InfoLine(std::wstring(L"LocaleHandler::SetLocale: Client locale: ") + locale +
                           L" is supported"));
  }

  void Fail(const std::wstring& error) { reply = {{"result", L"fail"}, {"error", error}}; }

  void FailInFrench(std::uint16_t message) {
    Speak(L"fr");
    Fail(Message(kFrench, message));
  }

  bool RefusedInPhase() {
    for (const PhaseRefusal& refusal : way_.refusals) {
      const std::wstring& value =
          refusal.property == L"EXPORT_STATUS" ? cell_.exportStatus : cell_.checksStatus;
      if (value != refusal.value) continue;
      Show(refusal.message);
      FailInFrench(refusal.message);
      Speak(L"en");
      log.push_back(ErrorLine(name_ + L": " + Message(kEnglish, refusal.message)));
      return true;
    }
    return false;
  }

  void GoOn() {
    Show(way_.beforeCredentials);
    if (!PassesCredentials() || !IsAvailable()) return;
    Show(way_.beforeWork);
    DoWork();
  }

  bool PassesCredentials() {
    const std::wstring prefix = L"ValidatePassedCredentials: ";
    if (cell_.exportStatus == L"NOT_STARTED") {
      log.push_back(InfoLine(prefix + L"Export has not started."));
      return PassesLogin();
    }
    if (cell_.exportStatus == L"RUNNING") {
      log.push_back(InfoLine(prefix + L"Export is running."));
      return EqualsCached();
    }
    if (cell_.exportStatus == L"FINISHED" && cell_.exportResult == L"SUCCESS") {
      log.push_back(InfoLine(prefix + L"Export finished successfully without any errors."));
      return EqualsCached();
    }
    if (cell_.exportStatus == L"FINISHED") {
      log.push_back(InfoLine(prefix + L"Export finished with errors."));
      return PassesLogin();
    }
    log.push_back(InfoLine(prefix + L"Successfully validated credentials."));
    return true;
  }

  bool PassesLogin() {
    cachedUser.clear();
    cachedPassword.clear();
    const CredentialCase& passed = cell_.credentials;
    if (passed.user.empty() || passed.password.empty()) {
      log.push_back(ErrorLine(L"ValidateCredentialsFromMC: Empty username or password."));
      FailInFrench(1096);
      return false;
    }
    const std::string user = WideToUtf8(passed.user);
    if (cell_.type == L"infrastructure") {
      checks.push_back("ValidateLocalSSOCredentials(" + user + ", 5.5)");
    } else if (cell_.type == L"tum") {
      checks.push_back("ValidateKvAdminCredentials(kv.example, 8443, /sdkTunnel, AA:BB, " + user +
                       ")");
    } else {
      checks.push_back("ValidateKvAdminCredentials(localhost, 443, , , " + user + ")");
    }
    if (passed.password != kRight) {
      FailInFrench(1098);
      return false;
    }
    cachedUser = passed.user;
    cachedPassword = passed.password;
    return true;
  }

  bool EqualsCached() {
    const std::wstring prefix = L"ValidatePassedCredentialsAgainstStoredCredentials: ";
    const CredentialCase& passed = cell_.credentials;
    if (passed.user.empty() || passed.password.empty()) {
      log.push_back(ErrorLine(prefix + L"Empty username or password."));
      FailInFrench(1096);
      return false;
    }
    if (passed.cachedUser.empty()) {
      log.push_back(ErrorLine(prefix + L"Empty cached username or password."));
      FailInFrench(1099);
      return false;
    }
    // No row has another name than the cached one but for its case.
    if (passed.password != passed.cachedPassword) {
      log.push_back(ErrorLine(prefix + L"Passed credentials do not match cached credentials for " +
                              passed.user + L" user."));
      FailInFrench(1098);
      return false;
    }
    log.push_back(
        InfoLine(prefix + L"Successfully validated credentials against cached credentials."));
    return true;
  }

  bool IsAvailable() {
    const For lacking = cell_.type == L"tum" ? For::kAllButUpdateManager : For::kUpdateManager;
    if (way_.availability != lacking) return true;
    log.push_back(ErrorLine(L"IsHalvardApiAvailable: HV API not available. Function: " + name_ +
                            L", Migration type: " + cell_.type + L"."));
    Speak(L"fr");
    Fail(Message(kFrench, 1172, shortName_));
    return false;
  }

  void DoWork() {
    switch (way_.work) {
      case Work::kDescribesDeployment:
        return DescribeDeployment();
      case Work::kAnswersPreparedPrechecks:
        log.push_back(InfoLine(name_ + L": Returning prechecks from: " + kPreparedPrechecks));
        reply = {{"findings", L"prepared"}};
        return;
      case Work::kAsksForDomain:
        FailInFrench(1061);
        reply["ad_domain_name"] = L"";
        return Show(1061);
      case Work::kCollectsNetwork:
        return CollectNetwork();
      case Work::kStartsExport:
        return FailToStartExport();
      case Work::kShowsExport:
        return;
      case Work::kAnswersQuestion:
        log.push_back(ErrorLine(L"CreateReplyFile: Failed to read the json file at [" +
                                kExportOutput + L"]."));
        FailInFrench(1082);
        return Show(1082);
      case Work::kCopiesExport:
        checks.push_back("ZipUtil_CreateExportZip(.zip, )");
        return Fail(L"");
      case Work::kCopiesLogs:
        checks.push_back("CreateLogsZipBundle(" + WideToUtf8(kLogsZip) + ")");
        console += Message(kGerman, 1077);
        return FailInFrench(1077);
      case Work::kShutsDown:
        return FailToShutDown();
      case Work::kEndsAgent:
        return FailToEndAgent();
      case Work::kLogsOn:
        return FailToLogOn();
    }
  }

  void DescribeDeployment() {
    console += Message(kGerman, 1084, cell_.type) + L"\n";
    Speak(L"en");
    log.push_back(InfoLine(name_ + L": Returning deployment type: " + cell_.type));
    const bool isSized = cell_.type == L"embedded" || cell_.type == L"management";
    const std::wstring size = isSized ? L"Tiny" : L"";
    reply = {{"result", L"success"},          {"error", L""},
             {"deployment_type", cell_.type}, {"deployment_size", size},
             {"deployment_ver", L"5.5"},      {"hv_kvsa_version", L"6.0.0.14510545"}};
    log.push_back(InfoLine(name_ +
                           L": Returning deployment type/size: {\n   \"deployment_size\" : \"" +
                           size + L"\",\n   \"deployment_type\" : \"" + cell_.type +
                           L"\",\n   \"deployment_ver\" : \"5.5\",\n   \"error\" : \"\",\n"
                           L"   \"hv_kvsa_version\" : \"6.0.0.14510545\",\n"
                           L"   \"result\" : \"success\"\n}"));
  }

  void CollectNetwork() {
    checks.push_back("CollectNetworkIdentity()");
    reply = {{"network", L"none"}};
    Show(1064);
  }

  void FailToStartExport() {
    log.push_back(InfoLine(name_ + L": No user options passed. Using default value: "
                                   L"[{\"keldb.migrateSet\":\"yes\"}]."));
    log.push_back(
        InfoLine(L"LaunchUpgradeRunnerExportPhase: Changed the status of export to: RUNNING"));
    log.push_back(
        ErrorLine(L"LaunchUpgradeRunnerExportPhase: Failed to create a thread to export "
                  L"data and configuration."));
    FailInFrench(1070);
    Show(1070);
  }

  void FailToShutDown() {
    log.push_back(Testing::WarningLine(
        L"CreateChildThreadToShutdownHV: Failed to create thread to initiate halvard shutdown. Error code: 8"));
    log.push_back(ErrorLine(name_ + L": Failed to initiate shutdown. Error code: [1115]."));
    Fail(L"Failed to shutdown the remote Kelvane Server Windows machine.");
  }

  void FailToEndAgent() {
    log.push_back(Testing::WarningLine(
        L"CreateChildThreadToShutdownHV: Failed to create thread to initiate halvard shutdown. Error code: 8"));
    Show(1171);
    Speak(L"en");
    log.push_back(ErrorLine(name_ + L": " + Message(kEnglish, 1171)));
    FailInFrench(1171);
  }

  void FailToLogOn() {
    Speak(L"en");
    log.push_back(InfoLine(name_ + L": " + Message(kEnglish, 1201)));
    log.push_back(ErrorLine(L"ValidateADCredentials: LogonUser failed for []. Error code: 1326."));
    console += Message(kGerman, 1203);
    FailInFrench(1203);
  }

  const std::wstring name_;
  const std::wstring shortName_;
  const Way& way_;
  const Cell& cell_;
};

}  // namespace

const std::vector<CredentialCase> kCredentials = {
    {"right, cached", kUser, kRight, kUser, kRight},
    {"right, cached in other case", L"ADMINISTRATOR@OSTREL.LOCAL", kRight, kUser, kRight},
    {"right, nothing cached", kUser, kRight, L"", L""},
    {"right, but other than the cached", kUser, kRight, kUser, L"Right"},
    {"wrong, as the cached", kUser, L"wrong", kUser, L"wrong"},
    {"wrong", kUser, L"wrong", kUser, kRight},
    {"no name", L"", kRight, kUser, kRight},
    {"no password", kUser, L"", kUser, kRight},
};

ExpectedCall ExpectCall(std::size_t operation, const Cell& cell) {
  return Expectation(kOperations[operation], kWays[operation], cell);
}

}  // namespace Halvard::MigratorSvc
