#include "core/log_file.h"

#include <cstddef>
#include <string_view>

#include "core/temp_directory.h"
#include "core/text.h"
#include "core/version.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

/// More than the longest line takes: 4,095 characters of up to four bytes, and the prefix. A whole
/// line then leaves the process in one write, also beside a second instance.
constexpr std::size_t kStreamBuffer = 32 * 1024;

/// Of name, build number and level with what stands around them.
constexpr std::size_t kLongestOrigin = 63;

/// Appends the number with zeros in front, as by "%02d" for two digits, and \p end behind it. Every
/// line of the log has seven numbers, and printf takes longer for them than the write of the whole
/// line.
void AppendNumber(std::wstring& text, unsigned number, std::size_t digits, wchar_t end) {
  const std::size_t start = text.size();
  for (; number != 0 || digits > 0; number /= 10) {
    text.insert(start, 1, static_cast<wchar_t>(L'0' + number % 10));
    if (digits > 0) --digits;
  }
  text += end;
}

/// As by "%04d-%02d-%02d %02d:%02d:%02d" and ".%03dZ".
void AppendTime(std::wstring& text, const SYSTEMTIME& utc) {
  AppendNumber(text, utc.wYear, 4, L'-');
  AppendNumber(text, utc.wMonth, 2, L'-');
  AppendNumber(text, utc.wDay, 2, L' ');
  AppendNumber(text, utc.wHour, 2, L':');
  AppendNumber(text, utc.wMinute, 2, L':');
  AppendNumber(text, utc.wSecond, 2, L'.');
  AppendNumber(text, utc.wMilliseconds, 3, L'Z');
}

/// "2026-01-31 12:00:00.123Z| halvard-14510545| I: ", or nothing.
std::wstring LinePrefix(std::wstring_view logName, char level) {
  FILETIME now = {};
  SYSTEMTIME utc = {};
  GetSystemTimeAsFileTime(&now);
  if (!FileTimeToSystemTime(&now, &utc)) return {};
  std::wstring prefix;
  AppendTime(prefix, utc);
  // As by "| %s-%hs| %c: ".
  const std::size_t origin = prefix.size();
  prefix.append(L"| ").append(logName).append(L"-").append(kBuild).append(L"| ");
  prefix.append({static_cast<wchar_t>(level), L':', L' '});
  return prefix.size() - origin <= kLongestOrigin ? prefix : std::wstring();
}

}  // namespace

LogFile gLogFile;

bool LogFile::Enter() {
  const std::lock_guard lock(mutex_);
  if (!OpenIfNeeded()) return false;
  ++scopes_;
  return true;
}

bool LogFile::OpenIfNeeded() {
  if (stream_ != nullptr) return true;
  const std::wstring folder = GetTempDirectory();
  if (folder.empty()) return false;
  // Shared with everyone: the log is read, copied and zipped while it is open.
  stream_ = _wfsopen((folder + L"halvard.log").c_str(), L"at", _SH_DENYNO);
  if (stream_ != nullptr) (void)std::setvbuf(stream_, nullptr, _IOFBF, kStreamBuffer);
  return true;
}

void LogFile::Leave() {
  const std::lock_guard lock(mutex_);
  if (--scopes_ > 0 || stream_ == nullptr) return;
  (void)std::fclose(stream_);
  stream_ = nullptr;
}

void LogFile::Write(std::string line) {
  line += '\n';
  const std::lock_guard lock(mutex_);
  if (stream_ == nullptr) return;
  (void)std::fwrite(line.data(), 1, line.size(), stream_);
  (void)std::fflush(stream_);
}

std::string FormatLogLine(const std::wstring& logName, char level, std::wstring message) {
  if (message.ends_with(L'\n')) message.pop_back();
  return WideToUtf8(LinePrefix(logName, level).append(message));
}

}  // namespace Halvard
