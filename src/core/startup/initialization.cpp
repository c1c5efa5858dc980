#include "core/startup/initialization.h"

#include <cstdio>

#include "core/automated_tum_upgrade.h"
#include "core/console.h"
#include "core/framework_logging.h"
#include "core/locales.h"
#include "core/logging.h"
#include "core/messages.h"
#include "core/property_defaults.h"
#include "core/start_failure.h"
#include "core/startup/administrator_check.h"
#include "core/startup/command_line.h"
#include "core/startup/control_handler.h"
#include "core/startup/status_file.h"
#include "core/startup/winsock_setup.h"
#include "host/windows_api.h"
#include "serverclient/tunrak_core.h"

namespace Halvard {
namespace {

void SetStandardOutputToUtf8() {
  LogScope log;
  // A buffer of the stream's own, before the mode changes: unbuffered wide output loses characters
  // on some consoles. Whoever prints flushes.
  constexpr std::size_t kBufferSize = 4096;
  (void)std::setvbuf(stdout, nullptr, _IOFBF, kBufferSize);
  if (_setmode(_fileno(stdout), _O_U8TEXT) != -1) {
    log.Info(L"HVInit: stdout successfully changed to UTF-8 mode");
  } else {
    log.Warn(L"HVInit: Failed to set mode of stdout to UTF-8");
  }
}

/// Makes room for the summary, whose rules are as wide as the console. Convenience, so results are
/// of no interest; standard output may be no console at all.
void SetConsoleLayout() {
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  const COORD buffer{145, 1000};
  const SMALL_RECT window{0, 0, 144, 49};
  // The buffer first: it may never be smaller than the window.
  (void)SetConsoleScreenBufferSize(output, buffer);
  (void)SetConsoleWindowInfo(output, TRUE, &window);
  (void)SetWindowPos(GetConsoleWindow(), HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOSIZE);
}

/// A status file of an earlier run must not be taken for this one's.
void DeleteOldStatusFile() { (void)DeleteFileW((GetTempDirectory() + kStatusFileName).c_str()); }

void AnnounceStart() {
  LogScope log;
  PrintLine(GetLocalizedString(1014));
  log.Info(L"HVInit: %s", GetLocalizedStringIn(1014, "en").c_str());
}

/// The handle is left open on purpose: the name lives as long as the process.
bool IsAnotherInstanceRunning() {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"Global\\OstrelHalvard");
  return mutex != nullptr && GetLastError() == ERROR_ALREADY_EXISTS;
}

/// At shutdown of the machine the agent is asked late, after ordinary applications.
void AskToShutDownLate() {
  LogScope log;
  constexpr DWORD kLowestApplicationLevel = 256;
  if (SetProcessShutdownParameters(kLowestApplicationLevel, 0)) return;
  const DWORD error = GetLastError();
  log.Warn(L"HVInit: Unable to set process shutdown parameters: %d", error);
}

void SetCtrlHandler() {
  LogScope log;
  if (SetConsoleCtrlHandler(CtrlHandler, TRUE)) {
    log.Info(L"HVInit: Ctrl handler successfully set.");
  } else {
    log.Warn(L"HVInit: Failed to set the Ctrl handler.");
  }
}

}  // namespace

StartResult HVInit(int argc, wchar_t* argv[], UserInput& input) {
  LogScope log;
  SetStandardOutputToUtf8();
  SetConsoleLayout();
  DeleteOldStatusFile();
  SetHVLocale();
  const StartResult commandLine = ParseCommandLineOptions(argc, argv, input);
  if (commandLine != kGoOn) return commandLine;
  AnnounceStart();
  if (IsAnotherInstanceRunning()) {
    ReportFatal(L"HVInit: %s", 1046);
    return kFailed;
  }
  SetUpFrameworkLogging();
  AskToShutDownLate();
  SetCtrlHandler();
  if (!SanityCheckAdminPrivilege()) {
    ReportFatal(L"HVInit: %s", 1151);
    return kFailed;
  }
  InitializeProperties();
  ServerClient::InitTunrakCore();
  // Proves that Winsock can start and holds nothing afterwards; whoever needs sockets starts it.
  const WSASetup winsock;
  if (!winsock) {
    ReportFatal(L"HVInit: %s", 1101);
    return kFailed;
  }
  automatedTumUpgrade = false;
  log.Info(L"HVInit: Automated TUM upgrade disabled.");
  return kGoOn;
}

}  // namespace Halvard
