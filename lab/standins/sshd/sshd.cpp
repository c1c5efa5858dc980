#include "standins/sshd/sshd.h"

#include <arpa/inet.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "standins/slapd/child_process.h"
#include "standins/sshd/ssh_files.h"

namespace Lab {
namespace {

constexpr char kServer[] = "/usr/sbin/sshd";
constexpr char kKeyMaker[] = "/usr/bin/ssh-keygen";
constexpr char kUnshare[] = "/usr/bin/unshare";

/// A program that has mounts and processes of its own. Its end, and that of who waits for it, is
/// the end of all of them.
const std::vector<std::string> kApart = {kUnshare, "--mount",      "--propagation", "private",
                                         "--pid",  "--kill-child", "--fork"};

std::filesystem::path MakeFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "sshd-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error(name + ": can't be made");
  return name;
}

void Write(const std::filesystem::path& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

std::string ReadAll(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

std::vector<std::string> Apart(const std::vector<std::string>& command) {
  std::vector<std::string> all = kApart;
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

/// Whether the host lets us have mounts and processes of our own.
std::string WhyNotApart() {
  const std::filesystem::path folder = MakeFolder();
  std::string reason;
  try {
    RunChild(Apart({"/bin/mount", "-t", "tmpfs", "none", folder}), "/dev/null");
  } catch (const std::exception&) {
    reason = "this host permits no mounts of our own";
  }
  std::filesystem::remove_all(folder);
  return reason;
}

std::string StartScript(const std::string& diskSize) {
  const std::string disk = diskSize.empty() ? "" : ",size=" + diskSize;
  // Failed logins go to a file under /var/log, and sshd wants a folder of its own under /run.
  return "set -e\ncd \"$1\"\n"
         "mount --bind passwd /etc/passwd\n"
         "mount --bind shadow /etc/shadow\n"
         "mount -t tmpfs -o mode=755 none /run\n"
         "mount -t tmpfs -o mode=755 none /var/log\n"
         "mkdir /run/sshd\n"
         "mount -t tmpfs -o mode=700" +
         disk + " none disk\nexec " + kServer + " -D -e -f \"$1/sshd_config\"\n";
}

sockaddr_in Loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

std::uint16_t FreePort() {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address = Loopback(0);
  socklen_t length = sizeof(address);
  (void)bind(probe, reinterpret_cast<sockaddr*>(&address), length);
  (void)getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length);
  close(probe);
  return ntohs(address.sin_port);
}

}  // namespace

std::string Sshd::WhyNot() {
  for (const char* program : {kServer, kKeyMaker, kUnshare}) {
    if (access(program, X_OK) != 0) return std::string(program) + " isn't installed";
  }
  if (geteuid() != 0) return "sshd wants root's rights";
  static const std::string reason = WhyNotApart();
  return reason;
}

Sshd::Sshd(const Settings& settings)
    : folder_(MakeFolder()), hostKeys_(settings.hostKeys), options_(settings.options) {
  try {
    WriteFiles(settings);
    constexpr int kTries = 5;  // Another program may take the port in between.
    for (int i = 0; i < kTries; ++i) {
      if (StartOnSomePort()) return;
    }
    throw std::runtime_error(std::string(kServer) + ": " + Log());
  } catch (...) {
    std::filesystem::remove_all(folder_);
    throw;
  }
}

Sshd::~Sshd() {
  Stop();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

std::string Sshd::Address() const { return "127.0.0.1:" + std::to_string(port_); }
std::string Sshd::Address6() const { return "[::1]:" + std::to_string(port_); }

std::string Sshd::Thumbprint(const std::string& type) const {
  return KeyThumbprint(folder_ / ("key_" + type + ".pub"));
}

std::string Sshd::Folder() const { return folder_ / "disk"; }

std::filesystem::path Sshd::HostPath(const std::string& path) const {
  return "/proc/" + std::to_string(process_) + "/root" + path;
}

std::string Sshd::Log() const { return ReadAll(folder_ / "output"); }

void Sshd::Stop() {
  if (process_ <= 0) return;
  // The first process of its kind takes all others along, and is waited for by unshare.
  const std::string inside = InsideProcess();
  kill(inside.empty() ? process_ : std::stoi(inside), SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

void Sshd::WriteFiles(const Settings& settings) const {
  std::filesystem::create_directory(folder_ / "disk");
  std::filesystem::create_directory(folder_ / "home");
  Write(folder_ / "passwd", settings.user + ":x:0:0::" + (folder_ / "home").string() +
                                ":/bin/sh\nsshd:x:100:65534::/run/sshd:/usr/sbin/nologin\n");
  Write(folder_ / "shadow",
        ShadowLine(settings.user, settings.password) + "\nsshd:*:19000::::::\n");
  Write(folder_ / "start", StartScript(settings.diskSize));
  for (const std::string& type : hostKeys_) {
    std::vector<std::string> command = {kKeyMaker, "-q", "-N", "",
                                        "-t",      type, "-f", folder_ / ("key_" + type)};
    // Half the time of the usual size.
    if (type == "rsa") command.insert(command.end(), {"-b", "2048"});
    RunChild(command, folder_ / "output");
  }
}

void Sshd::WriteConfiguration() const {
  std::string text = "ListenAddress " + Address() + "\nListenAddress " + Address6() +
                     "\nPidFile none\nUsePAM no\nUseDNS no\nPermitRootLogin yes\n"
                     "PasswordAuthentication yes\nKbdInteractiveAuthentication no\n"
                     "PubkeyAuthentication no\n";
  for (const std::string& type : hostKeys_) {
    text += "HostKey " + (folder_ / ("key_" + type)).string() + "\n";
  }
  for (const std::string& option : options_) text += option + "\n";
  Write(folder_ / "sshd_config", text);
}

bool Sshd::StartOnSomePort() {
  port_ = FreePort();
  WriteConfiguration();
  process_ = StartChild(Apart({"/bin/sh", folder_ / "start", folder_}), folder_ / "output");
  const std::string listening = "Server listening on 127.0.0.1 port";
  while (waitpid(process_, nullptr, WNOHANG) == 0) {
    if (Log().find(listening) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  process_ = -1;
  return false;
}

std::string Sshd::InsideProcess() const {
  const std::string process = std::to_string(process_);
  std::string first;
  std::ifstream("/proc/" + process + "/task/" + process + "/children") >> first;
  return first;
}

}  // namespace Lab
