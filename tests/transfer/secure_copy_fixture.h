// What the tests of the secure copy share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/error.hpp>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "core/logging.h"
#include "machine/handles.h"
#include "standins/sshd/sshd.h"
#include "standins/sshd/tcp_relay.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"
#include "transfer/secure_copy.h"

namespace Halvard::Transfer {

// In the agent Boost.Asio starts the sockets before main and keeps them started.
[[maybe_unused]] inline const auto& kSockets = boost::asio::error::get_misc_category();

/// A machine with a file to copy, and an appliance at 192.0.2.20 once a test has started one.
/// Nothing of a password may show and nothing may be left open, whatever a test did.
class SecureCopyTest : public ::testing::Test {
 protected:
  static constexpr char kServer[] = "192.0.2.20";
  static constexpr char kUser[] = "root";
  static constexpr char kPassword[] = "ge heim\xC3\xBC'$";
  static constexpr wchar_t kLocalFile[] =
      L"C:\\Ausf\u00FChrung \u8A66\u9A13\\export \U0001D4BD.zip";

  SecureCopyTest() {
    machine_.WriteFile(kLocalFile, content_);
    // Nobody is there until a test places somebody.
    Place("127.0.0.1:1");
    machine_.Set("/addressMap/[2001:db8::20]:22", "127.0.0.1:1");
    SetHost("appliance.example", "192.0.2.20");
    SetHost("six.example", "2001:db8::20");
    SetHost("scoped.example", "fe80::1%3");
  }
  void SetUp() override {
    if (const std::string reason = Lab::Sshd::WhyNot(); !reason.empty()) GTEST_SKIP() << reason;
    descriptors_ = Descriptors();
  }
  void TearDown() override {
    if (IsSkipped()) return;
    relay_.reset();
    EXPECT_EQ(Descriptors(), descriptors_);
    EXPECT_THAT(Lab::Handles().OpenTypes(), ::testing::IsEmpty());
    for (const Testing::LogLine& line : Testing::OwnLog()) {
      EXPECT_THAT(line.message, Not(::testing::HasSubstr(L"heim")));
    }
  }

  /// Lets the machine find at 192.0.2.20, port 22, who is really elsewhere.
  void Place(const std::string& address) {
    machine_.Set(std::string("/addressMap/") + kServer + ":22", address);
  }
  void SetHost(const std::string& name, const std::string& address) {
    Json::Value addresses;
    addresses.append(address);
    machine_.Set("/hosts/" + name, addresses);
  }
  /// A server whose password is the tests' own.
  void StartServer(Lab::Sshd::Settings settings = {.hostKeys = {"ed25519"}}) {
    settings.user = kUser;
    settings.password = kPassword;
    server_ = std::make_unique<Lab::Sshd>(settings);
    Place(server_->Address());
  }
  /// A bad line to the server.
  void StartRelay(const Lab::TcpRelay::Limits& limits) {
    relay_ = std::make_unique<Lab::TcpRelay>(server_->Address(), limits);
    Place(relay_->Address());
  }

  std::string RemotePath() const {
    return (server_ ? server_->Folder() : "/nowhere") + "/ex 'port' \xC3\xBC.zip";
  }
  bool Copy(const std::string& thumbprint = {}, const std::string& server = kServer) const {
    return ScpFile(server, RemotePath(), kUser, kPassword, thumbprint, kLocalFile);
  }
  bool CopyWithRetries() const {
    return ScpFileWithRetries(kServer, RemotePath(), kUser, kPassword, "", kLocalFile);
  }
  /// \return Content of the file on the server.
  std::string Arrived() const {
    std::ifstream in(server_->HostPath(RemotePath()), std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void SetContent(std::size_t size) {
    content_.resize(size);
    for (std::size_t i = 0; i < size; ++i) content_[i] = static_cast<char>(i * 31 + i / 251);
    machine_.WriteFile(kLocalFile, content_);
  }
  /// Plans a failure; the machine forgets its counts.
  void RefuseCall(const std::string& function, std::uint32_t call, std::uint32_t error) {
    machine_.PlanFault({.function = function, .call = call, .match = {}, .error = error});
  }
  /// \return The lines of the log that are errors.
  static std::vector<Testing::LogLine> Errors() {
    std::vector<Testing::LogLine> errors;
    for (const Testing::LogLine& line : Testing::OwnLog()) {
      if (line.level == 'E') errors.push_back(line);
    }
    return errors;
  }
  static std::ptrdiff_t Descriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }

  Lab::Instance machine_;
  LogScope log_;
  std::string content_ = "what is exported";
  std::unique_ptr<Lab::Sshd> server_;
  std::unique_ptr<Lab::TcpRelay> relay_;

 private:
  std::ptrdiff_t descriptors_ = 0;
};

}  // namespace Halvard::Transfer
