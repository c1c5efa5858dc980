#include "standins/sshd/sshd.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <stdexcept>

#include "standins/host_server/child_process.h"
#include "standins/host_server/loopback_port.h"
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

std::vector<std::string> Apart(const std::vector<std::string>& command) {
  std::vector<std::string> all = kApart;
  all.insert(all.end(), command.begin(), command.end());
  return all;
}

/// Whether the host lets us have mounts and processes of our own.
std::string WhyNotApart() {
  const ScratchFolder folder("sshd");
  try {
    RunChild(Apart({"/bin/mount", "-t", "tmpfs", "none", folder.Path()}), "/dev/null");
  } catch (const std::exception&) {
    return "this host permits no mounts of our own";
  }
  return {};
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
    : folder_("sshd"), hostKeys_(settings.hostKeys), options_(settings.options) {
  WriteFiles(settings);
  constexpr int kTries = 5;  // Another program may take the port in between.
  for (int i = 0; i < kTries; ++i) {
    if (StartOnSomePort()) return;
  }
  throw std::runtime_error(std::string(kServer) + ": " + Log());
}

Sshd::~Sshd() { Stop(); }

std::string Sshd::Address() const { return "127.0.0.1:" + std::to_string(port_); }
std::string Sshd::Address6() const { return "[::1]:" + std::to_string(port_); }

std::string Sshd::Thumbprint(const std::string& type) const {
  return KeyThumbprint(folder_ / ("key_" + type + ".pub"));
}

std::string Sshd::Folder() const { return folder_ / "disk"; }

std::filesystem::path Sshd::HostPath(const std::string& path) const {
  return "/proc/" + std::to_string(process_) + "/root" + path;
}

std::string Sshd::Log() const { return folder_.Read("output"); }

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
  folder_.Write("passwd", settings.user + ":x:0:0::" + (folder_ / "home").string() +
                              ":/bin/sh\nsshd:x:100:65534::/run/sshd:/usr/sbin/nologin\n");
  folder_.Write("shadow", ShadowLine(settings.user, settings.password) + "\nsshd:*:19000::::::\n");
  folder_.Write("start", StartScript(settings.diskSize));
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
  folder_.Write("sshd_config", text);
}

bool Sshd::StartOnSomePort() {
  port_ = FreeLoopbackPort();
  WriteConfiguration();
  process_ = StartChild(Apart({"/bin/sh", folder_ / "start", folder_.Path()}), folder_ / "output");
  const std::string listening = "Server listening on 127.0.0.1 port";
  return AwaitReady(process_, [&] { return Log().find(listening) != std::string::npos; });
}

std::string Sshd::InsideProcess() const {
  const std::string process = std::to_string(process_);
  std::string first;
  std::ifstream("/proc/" + process + "/task/" + process + "/children") >> first;
  return first;
}

}  // namespace Lab
