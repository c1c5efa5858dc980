// Unpacking installer packages. The work is lab-installer's, a process of its own.
#include <fcntl.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "files/find.h"
#include "files/open_file.h"
#include "installer/outcome.h"
#include "machine/call.h"
#include "machine/machine.h"
#include "machine/paths.h"
#include "machine/text.h"
#include "msi.h"
#include "winbase.h"
#include "winerror.h"

namespace {

namespace fs = std::filesystem;
using Properties = std::map<std::wstring, std::wstring>;

std::atomic<INSTALLUILEVEL> gInterfaceLevel{INSTALLUILEVEL_DEFAULT};

bool IsBlank(wchar_t c) { return c == L' ' || c == L'\t'; }

/// Takes a property's value from the front of a text. Within quotes, two quotes are one that stays.
/// \return Nothing when a quote is never closed.
std::optional<std::wstring> TakeValue(std::wstring_view& text) {
  std::wstring value;
  bool quoted = false;
  while (!text.empty() && (quoted || !IsBlank(text.front()))) {
    if (text.front() != L'"') {
      value += text.front();
    } else if (quoted && text.starts_with(L"\"\"")) {
      value += L'"';
      text.remove_prefix(1);
    } else {
      quoted = !quoted;
    }
    text.remove_prefix(1);
  }
  if (quoted) return std::nullopt;
  return value;
}

/// Reads "NAME=value OTHER=\"with blanks\"".
/// \return Nothing for a text of another form.
std::optional<Properties> ParseProperties(std::wstring_view text) {
  Properties properties;
  for (;;) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    if (text.empty()) return properties;
    const std::size_t equals = text.find(L'=');
    const std::wstring name(text.substr(0, equals));
    if (equals == 0 || equals == std::wstring_view::npos) return std::nullopt;
    if (name.find_first_of(L" \t\"") != std::wstring::npos) return std::nullopt;
    text.remove_prefix(equals + 1);
    std::optional<std::wstring> value = TakeValue(text);
    if (!value) return std::nullopt;
    properties[name] = *std::move(value);
  }
}

bool IsAbsolute(const std::wstring& path) {
  return path.size() > 2 && path[1] == L':' && path[2] == L'\\';
}

bool AsksForAnImage(const Properties& properties) {
  const auto action = properties.find(L"ACTION");
  const auto target = properties.find(L"TARGETDIR");
  return properties.size() == 2 && action != properties.end() && action->second == L"ADMIN" &&
         target != properties.end() && IsAbsolute(target->second);
}

/// \return Where a folder lies or would lie; nothing for a path that no folder can have.
std::optional<fs::path> PlaceOfFolder(std::wstring path) {
  constexpr std::size_t kRootLength = 3;
  while (path.size() > kRootLength && path.ends_with(L'\\')) path.pop_back();
  const Lab::FoundPath found = Lab::FindPath(path);
  if (found.error == ERROR_SUCCESS || found.error == ERROR_FILE_NOT_FOUND) return found.host;
  if (found.error != ERROR_PATH_NOT_FOUND || path.size() <= kRootLength) return std::nullopt;
  const Lab::SplitPath parts = Lab::SplitAtLastSeparator(path);
  if (parts.name.find_first_of(L"<>:\"|?*") != std::wstring::npos) return std::nullopt;
  const std::optional<fs::path> parent = PlaceOfFolder(parts.folder);
  if (!parent) return std::nullopt;
  return *parent / Lab::ToUtf8(parts.name);
}

/// The installer of a machine serves one at a time.
class Turn {
 public:
  Turn() {
    const fs::path file = Lab::TheMachine().RunFolder() / "installer";
    descriptor_ = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    held_ = descriptor_ >= 0 && flock(descriptor_, LOCK_EX | LOCK_NB) == 0;
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;
  ~Turn() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  bool Held() const { return held_ && !Lab::TheMachine().Describe().installerBusy; }

 private:
  int descriptor_ = -1;
  bool held_ = false;
};

/// Opens a package as the installer does: others may read it meanwhile.
/// \return Null when it can't be opened.
std::shared_ptr<Lab::OpenFile> OpenPackage(const fs::path& place) {
  Lab::OpenFile::Request request;
  request.access = FILE_SHARE_READ;
  request.share = FILE_SHARE_READ;
  return Lab::OpenFile::Open(place, request).file;
}

/// Runs a program of the host to its end; what it complains of goes to the end of a file.
/// \return The exit code; nothing when it had none.
std::optional<int> Run(std::vector<std::string> command, const fs::path& complaints) {
  std::vector<char*> arguments;
  for (std::string& argument : command) arguments.push_back(argument.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, complaints.c_str(),
                                   O_WRONLY | O_CREAT | O_APPEND, 0600);
  pid_t process = -1;
  const int error =
      posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) return std::nullopt;
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status)) return std::nullopt;
  return WEXITSTATUS(status);
}

UINT MakeImage(const fs::path& package, const std::wstring& target) {
  const std::optional<fs::path> place = PlaceOfFolder(target);
  if (!place) return ERROR_INSTALL_FAILURE;
  std::vector<std::string> command = {LAB_INSTALLER, package.string(), place->string()};
  const auto& freeBytes = Lab::TheMachine().Describe().freeBytes;
  const auto room = freeBytes.find(Lab::FullPath(target).front());
  if (room != freeBytes.end()) command.push_back(std::to_string(room->second));
  const std::optional<int> code =
      Run(std::move(command), Lab::TheMachine().RunFolder() / "installer.log");
  if (!code) return ERROR_INSTALL_SERVICE_FAILURE;
  const auto outcome = static_cast<Lab::InstallerOutcome>(*code);
  const bool understood = outcome != Lab::InstallerOutcome::kRefused;
  LAB_SUPPORTS(understood && "see run/installer.log of the machine");
  if (outcome == Lab::InstallerOutcome::kDone) return ERROR_SUCCESS;
  if (outcome == Lab::InstallerOutcome::kNoPackage) return ERROR_INSTALL_PACKAGE_INVALID;
  return ERROR_INSTALL_FAILURE;
}

}  // namespace

INSTALLUILEVEL WINAPI MsiSetInternalUI(INSTALLUILEVEL level, HWND* window) {
  const Lab::Call call("MsiSetInternalUI");
  LAB_SUPPORTS(level == INSTALLUILEVEL_DEFAULT || level == INSTALLUILEVEL_NONE);
  LAB_SUPPORTS(window == nullptr);
  return gInterfaceLevel.exchange(level);
}

UINT WINAPI MsiInstallProductW(LPCWSTR package, LPCWSTR properties) {
  LAB_SUPPORTS(package != nullptr && properties != nullptr);
  const Lab::Call call("MsiInstallProductW", package);
  if (const auto error = call.PlannedError()) return *error;
  // There is nobody to look at windows.
  LAB_SUPPORTS(gInterfaceLevel == INSTALLUILEVEL_NONE);
  if (std::wstring_view(package).find(L'/') != std::wstring_view::npos) {
    return ERROR_INSTALL_PACKAGE_OPEN_FAILED;
  }
  const Lab::FoundPath found = Lab::FindPath(package);
  if (found.error == ERROR_FILE_NOT_FOUND || found.error == ERROR_PATH_NOT_FOUND) {
    return ERROR_FILE_NOT_FOUND;
  }
  if (found.error != ERROR_SUCCESS) return ERROR_INSTALL_PACKAGE_OPEN_FAILED;
  const std::shared_ptr<Lab::OpenFile> opened = OpenPackage(found.host);
  if (opened == nullptr) return ERROR_INSTALL_PACKAGE_OPEN_FAILED;
  const std::optional<Properties> given = ParseProperties(properties);
  if (!given) return ERROR_INVALID_COMMAND_LINE;
  LAB_SUPPORTS(AsksForAnImage(*given));
  const Turn turn;
  if (!turn.Held()) return ERROR_INSTALL_ALREADY_RUNNING;
  return MakeImage(found.host, given->at(L"TARGETDIR"));
}
