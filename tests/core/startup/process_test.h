// What the tests of whole runs share.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <json/json.h>

#include <sstream>
#include <string>
#include <vector>

#include "core/text.h"
#include "machine/string_tables.h"
#include "support/agent_run.h"

namespace Halvard {

/// The message of a language, as the program was linked with it, with its places filled.
inline std::wstring Message(std::uint16_t language, std::uint16_t id,
                            const std::vector<std::wstring>& arguments = {}) {
  std::wstring text(Lab::FindString(language, id));
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::wstring place = L"[" + std::to_wstring(i) + L"]";
    if (const std::size_t at = text.find(place); at != std::wstring::npos) {
      text.replace(at, place.size(), arguments[i]);
    }
  }
  return text;
}

inline constexpr std::uint16_t kEnglish = 1033;
inline constexpr std::uint16_t kGerman = 1031;

inline std::wstring English(std::uint16_t id, const std::vector<std::wstring>& arguments = {}) {
  return Message(kEnglish, id, arguments);
}

/// The console of a failed run without the notice that its logs lie on the desktop, which has to be
/// there. The bundle's name tells the time.
inline std::wstring WithoutLogNotice(std::wstring console, std::uint16_t language = kEnglish) {
  const std::wstring bundle = std::wstring(Lab::Instance::kProfile) +
                              L"\\Desktop\\Ostrel-HV-logs-" + std::wstring(14, L'?') + L".zip";
  const std::wstring notice = L"\n" + Message(language, 1162, {bundle}) + L"\n";
  const std::size_t digits = notice.find(L'?');
  const std::size_t at = console.find(notice.substr(0, digits));
  if (at == std::wstring::npos) return L"No notice of the logs: " + console;
  for (std::size_t i = digits; i < digits + 14; ++i) console[at + i] = L'?';
  EXPECT_EQ(console.substr(at, notice.size()), notice);
  return console.erase(at, notice.size());
}

/// What the status file says; null without one.
inline Json::Value StatusOf(const Lab::Instance& machine) {
  Json::Value status;
  std::istringstream text(machine.ReadFile(L"%TEMP%\\hv-status.json").value_or("null"));
  text >> status;
  return status;
}

inline Json::Value Status(const Json::Value& initialization, const std::wstring& error,
                          const Json::Value& port = Json::nullValue,
                          const Json::Value& thumbprint = Json::nullValue) {
  Json::Value status;
  status["initialization"] = initialization;
  status["error"] = error.empty() ? Json::Value() : Json::Value(WideToUtf8(error));
  status["port"] = port;
  status["thumbprint"] = thumbprint;
  return status;
}

/// What a run without a password asks for.
inline constexpr wchar_t kPasswordPrompt[] = L"Enter Administrator@ostrel.local password: ";

/// Where the upgrade runner is unpacked.
inline constexpr wchar_t kRunnerFolder[] = L"%LOCALAPPDATA%\\Ostrel\\Halvard\\PythonURExtractDir";

/// The exit code of every failure: -1, of which a host process keeps the lower byte.
inline constexpr int kFailureCode = 255;

}  // namespace Halvard
