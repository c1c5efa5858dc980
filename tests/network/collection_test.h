// What tests of the collection share: a machine, its operator's language, and properties that
// nothing has touched yet.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/error.hpp>
#include <string>

#include "core/locales.h"
#include "core/property_store.h"
#include "core/temp_directory.h"
#include "support/lab_instance.h"
#include "support/log_lines.h"

namespace Halvard::Network {

// In the agent Boost.Asio starts the sockets before main and keeps them started.
[[maybe_unused]] inline const auto& kSockets = boost::asio::error::get_misc_category();

/// Where the registry keeps the settings of the network and of the time service.
inline constexpr wchar_t kTcpipKey[] =
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\services\\Tcpip\\Parameters";
inline constexpr wchar_t kTimeServiceKey[] =
    L"HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\W32Time\\Parameters";

/// A run that has come as far as the network, with an empty log.
class CollectionTest : public ::testing::Test {
 protected:
  CollectionTest() { SpeakLanguage(1033); }

  /// The language of the operator and, until a client says otherwise, of replies.
  void SpeakLanguage(LANGID language) {
    // The tables of properties and the thread's language outlive a test.
    for (const auto& [property, value] : gProperties.Snapshot()) gProperties[property] = L"";
    machine_.Set("/computer/uiLanguage", language);
    SetThreadUILanguage(language);
    SetHVLocale();
    machine_.RemoveFile(GetTempDirectory() + L"halvard.log");
  }

  Lab::Instance machine_;
};

/// \return The log without the lines whose messages don't begin with "\p function:".
std::vector<Testing::LogLine> LinesOf(const std::wstring& function);

}  // namespace Halvard::Network
