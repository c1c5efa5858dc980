// A Kelvane Server of the lab for the time of one test.
#pragma once

#include <json/value.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Lab {

/// Starts kelvane-server on a port of the system's choice at 127.0.0.1, with a certificate of its
/// own, and ends it with the object. A server that doesn't start throws std::runtime_error with
/// what it said.
class KelvaneServer {
 public:
  /// The user of the usual description; both texts hold characters that XML and shells take ill.
  static constexpr const char* kUser = "J\u00F6rg & <\u8A66\u9A13>@ostrel.local";
  static constexpr const char* kPassword = " p\"a's<s>&\u00FC\U0001D4BD ";

  /// One user, 12 hosts, 57 machines in nested folders and virtual applications. A start for
  /// descriptions of one's own, whose members lab/README.md tells.
  static Json::Value UsualConfig();

  explicit KelvaneServer(const Json::Value& config = UsualConfig());
  KelvaneServer(const KelvaneServer&) = delete;
  KelvaneServer& operator=(const KelvaneServer&) = delete;
  ~KelvaneServer();

  std::uint16_t Port() const;
  /// SHA-1 of the certificate, as "9A:0B:...".
  std::string Thumbprint() const;
  /// The certificate as PEM.
  std::string Certificate() const;
  /// How many hosts and machines the inventory has, by its generator's count.
  std::uint32_t Hosts() const;
  std::uint32_t Machines() const;

  /// Ends the server now; the journal stays. Connections break off. A server that has failed, as by
  /// a sanitizer's report, throws; at the end of the object that ends the test program.
  void Stop();

  /// All lines so far. What an answer tells of stands here before the answer is sent.
  std::vector<Json::Value> Journal() const;
  /// The lines of one kind of event: "request", "tunnel", "session", "extensions", "connectionEnd",
  /// "stop".
  std::vector<Json::Value> Events(const std::string& event) const;
  /// The names of the operations that were asked for, in order.
  std::vector<std::string> Operations() const;
  /// What a client said wrong: the texts of all that was refused. None is what a test wants.
  std::vector<std::string> Refusals() const;
  /// The registered extensions as they are now, by key.
  Json::Value Extensions() const;
  /// The journal's bytes, to look for what must not be in them.
  std::string JournalText() const;

 private:
  void Start();

  std::filesystem::path folder_;  ///< Description and journal; removed at the end.
  pid_t process_ = -1;
  int input_ = -1;
  Json::Value announcement_;
};

}  // namespace Lab
