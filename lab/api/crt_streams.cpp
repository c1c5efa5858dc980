// Streams of Windows' C runtime. Their files follow the rules of sharing. Text is read with the
// line ends of either system and written with the host's.
#include <fcntl.h>
#include <locale.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "crt.h"
#include "files/open_file.h"
#include "files/text_reader.h"
#include "io.h"
#include "machine/call.h"
#include "machine/paths.h"
#include "winerror.h"

namespace {

using Lab::OpenFile;

/// The host's mode for what follows: "r", "w" or "a", and "+". To the host, text and binary are
/// one.
std::string HostMode(std::wstring_view mode) {
  std::string host;
  for (const wchar_t c : mode) {
    if (c != L't' && c != L'b') host += static_cast<char>(c);
  }
  return host;
}

Lab::AccessKinds SharedBy(int share) {
  switch (share) {
    case _SH_DENYRW:
      return 0;
    case _SH_DENYWR:
      return FILE_SHARE_READ;
    case _SH_DENYRD:
      return FILE_SHARE_WRITE;
    default:
      return FILE_SHARE_READ | FILE_SHARE_WRITE;
  }
}

OpenFile::Request RequestOfMode(const std::string& mode, int share) {
  OpenFile::Request request;
  const bool both = mode.ends_with('+');
  const bool reads = mode[0] == 'r';
  if (reads || both) request.access |= FILE_SHARE_READ;
  if (!reads || both) request.access |= FILE_SHARE_WRITE;
  request.share = SharedBy(share);
  request.mayCreate = !reads;
  request.truncates = mode[0] == 'w';
  return request;
}

int ErrnoOf(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
      return ENOENT;
    case ERROR_DISK_FULL:
      return ENOSPC;
    case ERROR_INVALID_NAME:
      return EINVAL;
    default:
      return EACCES;
  }
}

std::FILE* FailWithoutStream(DWORD error) {
  errno = ErrnoOf(error);
  return nullptr;
}

std::FILE* OpenStream(const wchar_t* name, const std::string& mode, bool text, int share) {
  const Lab::FoundPath found = Lab::FindPath(name);
  if (found.error != ERROR_SUCCESS && found.error != ERROR_FILE_NOT_FOUND)
    return FailWithoutStream(found.error);
  const OpenFile::Result opened = OpenFile::Open(found.host, RequestOfMode(mode, share));
  if (opened.file == nullptr) return FailWithoutStream(opened.error);
  const int descriptor = opened.file->Release();
  if (mode[0] == 'a') fcntl(descriptor, F_SETFL, O_APPEND);
  if (text && mode == "r") return Lab::OpenTextReader(descriptor);
  return fdopen(descriptor, mode.c_str());
}

/// Replaces what is behind a stream by itself: that alone takes back whether it is narrow or wide.
void ForgetOrientation(std::FILE* stream) {
  const int descriptor = fileno(stream);
  const int kept = fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
  if (kept < 0) return;
  if (std::freopen("/dev/null", "w", stream) != nullptr) dup2(kept, fileno(stream));
  close(kept);
}

/// Makes a stream wide, with UTF-8 as what goes out whatever the locale of the process.
void TurnToUtf8(std::FILE* stream) {
  static const locale_t utf8 = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
  const locale_t before = uselocale(utf8);
  std::fwide(stream, 1);
  uselocale(before);
}

std::FILE* StandardOutput(int descriptor) {
  if (descriptor == fileno(stdout)) return stdout;
  return descriptor == fileno(stderr) ? stderr : nullptr;
}

}  // namespace

std::FILE* _wfsopen(const wchar_t* name, const wchar_t* mode, int share) {
  LAB_SUPPORTS(name != nullptr && mode != nullptr);
  const Lab::Call call("_wfsopen", name);
  if (call.PlannedError()) return FailWithoutStream(*call.PlannedError());
  LAB_SUPPORTS(share == _SH_DENYRW || share == _SH_DENYWR || share == _SH_DENYRD ||
               share == _SH_DENYNO);
  const std::string host = HostMode(mode);
  LAB_SUPPORTS(host == "r" || host == "w" || host == "a" || host == "r+" || host == "w+" ||
               host == "a+");
  const bool text = std::wstring_view(mode).find(L'b') == std::wstring_view::npos;
  return OpenStream(name, host, text, share);
}

std::FILE* _wfopen(const wchar_t* name, const wchar_t* mode) {
  return _wfsopen(name, mode, _SH_DENYNO);
}

int _fileno(std::FILE* stream) { return fileno(stream); }

int _setmode(int descriptor, int mode) {
  const Lab::Call call("_setmode");
  if (call.PlannedError()) {
    errno = EBADF;
    return -1;
  }
  static std::mutex mutex;
  static int modes[3] = {_O_TEXT, _O_TEXT, _O_TEXT};
  const std::lock_guard lock(mutex);
  std::FILE* const stream = StandardOutput(descriptor);
  if (fcntl(descriptor, F_GETFD) < 0) {
    errno = EBADF;
    return -1;
  }
  if (mode != _O_TEXT && mode != _O_U8TEXT) {
    errno = EINVAL;
    return -1;
  }
  LAB_SUPPORTS(stream != nullptr);
  const int before = std::exchange(modes[descriptor], mode);
  // A stream may have been opened anew meanwhile, which takes its mode from it.
  const bool isWide = std::fwide(stream, 0) > 0;
  if (before == mode && isWide == (mode == _O_U8TEXT)) return before;
  std::fflush(stream);
  if (std::fwide(stream, 0) != 0) ForgetOrientation(stream);
  if (mode == _O_U8TEXT) TurnToUtf8(stream);
  return before;
}
