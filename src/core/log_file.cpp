#include "core/log_file.h"

#include <cstddef>
#include <type_traits>

#include "core/format_into.h"
#include "core/temp_directory.h"
#include "core/text.h"
#include "core/version.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

/// More than the longest line takes: 4,095 characters of up to four bytes, and the prefix. A whole
/// line then leaves the process in one write, also beside a second instance.
constexpr std::size_t kStreamBuffer = 32 * 1024;

constexpr std::size_t kPieceSize = 64;
constexpr std::size_t kPrefixSize = 3 * kPieceSize;

/// Appends one formatted piece of the prefix to \p line. False when it doesn't fit.
template <typename... Values>
bool AppendPiece(std::wstring& line, std::type_identity_t<WideFormat<Values...>> format,
                 Values... values) {
  wchar_t piece[kPieceSize];
  const int length = FormatInto(piece, format, values...);
  if (length < 0) return false;
  line.append(piece, static_cast<std::size_t>(length));
  return true;
}

/// Appends "2026-01-31 12:00:00.123Z| halvard-14510545| I: ". False, with a part of it, when that
/// can't be built.
bool AppendPrefix(std::wstring& line, const std::wstring& logName, char level) {
  FILETIME now = {};
  SYSTEMTIME utc = {};
  GetSystemTimeAsFileTime(&now);
  return FileTimeToSystemTime(&now, &utc) &&
         AppendPiece(line, L"%04d-%02d-%02d %02d:%02d:%02d", int{utc.wYear}, int{utc.wMonth},
                     int{utc.wDay}, int{utc.wHour}, int{utc.wMinute}, int{utc.wSecond}) &&
         AppendPiece(line, L".%03dZ", int{utc.wMilliseconds}) &&
         AppendPiece(line, L"| %s-%hs| %c: ", logName.c_str(), kNarrowBuild,
                     static_cast<wchar_t>(level));
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
  stream_ = _wfsopen((folder + kLogFileName).c_str(), L"at", _SH_DENYNO);
  if (stream_ != nullptr) (void)std::setvbuf(stream_, nullptr, _IOFBF, kStreamBuffer);
  return true;
}

void LogFile::Leave() {
  const std::lock_guard lock(mutex_);
  if (--scopes_ > 0 || stream_ == nullptr) return;
  (void)std::fclose(stream_);
  stream_ = nullptr;
}

void LogFile::Write(std::string_view line) {
  const std::lock_guard lock(mutex_);
  if (stream_ == nullptr) return;
  (void)std::fwrite(line.data(), 1, line.size(), stream_);
  (void)std::fputc('\n', stream_);
  (void)std::fflush(stream_);
}

std::string FormatLogLine(const std::wstring& logName, char level, std::wstring_view message) {
  if (message.ends_with(L'\n')) message.remove_suffix(1);
  std::wstring line;
  line.reserve(kPrefixSize + message.size());
  if (!AppendPrefix(line, logName, level)) line.clear();
  return WideToUtf8(line += message);
}

}  // namespace Halvard
