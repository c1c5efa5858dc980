#include "support/client_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "core/text.h"
#include "support/argument_pointers.h"
#include "support/file_bytes.h"

namespace Halvard::Testing {
namespace {

/// A folder for what the client prints and remembers; gone with the object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "client-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for the client");
    path_ = name;
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder() { std::filesystem::remove_all(path_); }

  std::string File(const char* name) const { return (path_ / name).string(); }
  std::wstring Read(const char* name) const { return Utf8ToWide(Lab::FileBytes(path_ / name)); }

 private:
  std::filesystem::path path_;
};

}  // namespace

ClientRun RunClient(const std::vector<std::wstring>& arguments, const std::string& input,
                    const std::vector<std::string>& variables) {
  const ScratchFolder folder;
  std::ofstream(folder.File("in"), std::ios::binary) << input;
  std::vector<std::string> command{HVCTL_PROGRAM};
  for (const std::wstring& argument : arguments) command.push_back(WideToUtf8(argument));
  std::vector<std::string> environment{variables};
  environment.push_back("HVCTL_KNOWN_AGENTS=" + folder.File("known_agents"));
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  constexpr int kWriting = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, folder.File("in").c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, folder.File("out").c_str(), kWriting,
                                   0600);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, folder.File("err").c_str(), kWriting,
                                   0600);
  pid_t process = 0;
  const int error =
      posix_spawn(&process, HVCTL_PROGRAM, &actions, nullptr, Lab::ArgumentPointers(command).data(),
                  Lab::ArgumentPointers(environment).data());
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("the client doesn't start");
  int status = 0;
  waitpid(process, &status, 0);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, folder.Read("out"), folder.Read("err")};
}

}  // namespace Halvard::Testing
