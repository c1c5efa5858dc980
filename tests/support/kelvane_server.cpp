#include "support/kelvane_server.h"

#include <fcntl.h>
#include <json/reader.h>
#include <json/writer.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "support/argument_pointers.h"
#include "support/file_bytes.h"

namespace Lab {
namespace {

Json::Value ParseLine(const std::string& line) {
  Json::Value value;
  std::istringstream stream(line);
  stream >> value;
  return value;
}

/// \return What comes up to the first line end or to the end.
std::string ReadLine(int file) {
  std::string line;
  char c = 0;
  while (read(file, &c, 1) == 1 && c != '\n') line += c;
  return line;
}

/// Starts the program on a description in the folder. Throws std::runtime_error.
pid_t Spawn(const std::filesystem::path& folder, int input, int output) {
  std::vector<std::string> command{KELVANE_SERVER_PROGRAM,
                                   "--until-input-ends",
                                   "--config",
                                   (folder / "config.json").string(),
                                   "--record",
                                   (folder / "journal").string()};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (folder / "errors").c_str(),
                                   O_WRONLY | O_CREAT | O_APPEND, 0600);
  pid_t process = -1;
  const int error = posix_spawn(&process, KELVANE_SERVER_PROGRAM, &actions, nullptr,
                                ArgumentPointers(command).data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0) throw std::runtime_error("kelvane-server can't be started");
  return process;
}

}  // namespace

Json::Value KelvaneServer::UsualConfig() {
  Json::Value config;
  config["users"][0]["name"] = kUser;
  config["users"][0]["password"] = kPassword;
  config["inventory"]["hosts"] = 12;
  config["inventory"]["machines"] = 57;
  config["inventory"]["dataCenters"] = 2;
  config["inventory"]["virtualApps"] = 5;
  return config;
}

KelvaneServer::KelvaneServer(const Json::Value& config) {
  std::string name =
      (std::filesystem::temp_directory_path() / "kelvane \u8A66\u9A13 \U0001D4BD-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no folder for a Kelvane Server");
  folder_ = name;
  std::ofstream(folder_ / "config.json") << config;
  try {
    Start();
  } catch (const std::runtime_error&) {
    std::filesystem::remove_all(folder_);
    throw;
  }
}

KelvaneServer::~KelvaneServer() {
  Stop();
  std::filesystem::remove_all(folder_);
}

void KelvaneServer::Start() {
  int in[2];
  int out[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipes for a Kelvane Server");
  }
  process_ = Spawn(folder_, in[0], out[1]);
  close(in[0]);
  close(out[1]);
  input_ = in[1];
  const std::string line = ReadLine(out[0]);
  close(out[0]);
  if (line.empty()) Stop();
  announcement_ = ParseLine(line);
}

void KelvaneServer::Stop() {
  if (input_ >= 0) close(std::exchange(input_, -1));
  if (process_ < 0) return;
  int status = 0;
  waitpid(std::exchange(process_, -1), &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("the Kelvane Server failed: " + FileBytes(folder_ / "errors"));
  }
}

std::uint16_t KelvaneServer::Port() const {
  return static_cast<std::uint16_t>(announcement_["port"].asUInt());
}
std::string KelvaneServer::Thumbprint() const { return announcement_["thumbprint"].asString(); }
std::string KelvaneServer::Certificate() const { return announcement_["certificate"].asString(); }
std::uint32_t KelvaneServer::Hosts() const { return announcement_["hosts"].asUInt(); }
std::uint32_t KelvaneServer::Machines() const { return announcement_["machines"].asUInt(); }

std::string KelvaneServer::JournalText() const { return FileBytes(folder_ / "journal"); }

std::vector<Json::Value> KelvaneServer::Journal() const {
  std::vector<Json::Value> lines;
  std::istringstream stream(JournalText());
  for (std::string line; std::getline(stream, line);) lines.push_back(ParseLine(line));
  return lines;
}

std::vector<Json::Value> KelvaneServer::Events(const std::string& event) const {
  std::vector<Json::Value> lines;
  for (Json::Value& line : Journal()) {
    if (line["event"] == event) lines.push_back(std::move(line));
  }
  return lines;
}

std::vector<std::string> KelvaneServer::Operations() const {
  std::vector<std::string> names;
  for (const Json::Value& line : Events("request")) names.push_back(line["operation"].asString());
  return names;
}

std::vector<std::string> KelvaneServer::Refusals() const {
  std::vector<std::string> texts;
  for (const Json::Value& line : Journal()) {
    if (line["outcome"] == "refused") texts.push_back(line["text"].asString());
  }
  return texts;
}

Json::Value KelvaneServer::Extensions() const {
  Json::Value byKey(Json::objectValue);
  const std::vector<Json::Value> tables = Events("extensions");
  if (tables.empty()) return byKey;
  for (const Json::Value& extension : tables.back()["extensions"]) {
    byKey[extension["key"].asString()] = extension;
  }
  return byKey;
}

}  // namespace Lab
