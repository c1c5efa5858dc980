#include "transfer/shell_zip.h"

#include "core/logging.h"
#include "host/com.h"
#include "host/threads.h"
#include "host/unique_resource.h"
#include "host/windows_api.h"

namespace Halvard::Transfer {
namespace {

using Host::ThreadSet;

/// The record that ends a zip, of one without entries.
constexpr char kEmptyZip[22] = {'P', 'K', 5, 6};

/// The shell's module that copies into zip files.
constexpr wchar_t kZipModule[] = L"zipfldr.dll";

constexpr DWORD kPauseBeforeSecondLook = 2;  // milliseconds
constexpr DWORD kThreadWait = 5'000;         // milliseconds
constexpr int kMaximumRounds = 2'160;        // three hours

/// What one copy holds of the shell. Values go first at the end, then the objects.
struct ShellCopy {
  Host::ComPtr<IShellDispatch> shell;
  Host::ComPtr<Folder> destination;
  Host::ComPtr<Folder> source;
  Host::ComPtr<FolderItems> items;
  Host::Variant sourcePath;
  Host::Variant zipPath;
  Host::Variant item;
  Host::Variant options;
};

/// What there is to watch before the copy begins.
struct Before {
  int moduleCount = 0;
  ThreadSet threads;
};

bool Exists(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool BothExist(LogScope& log, const std::wstring& sourceDirectory, const std::wstring& zipFile) {
  if (!Exists(sourceDirectory)) {
    log.Info(L"ZipDirectory: Directory '%s' does not exist", sourceDirectory.c_str());
    return false;
  }
  if (!Exists(zipFile)) {
    log.Info(L"ZipDirectory: Zip file '%s' does not exist", zipFile.c_str());
    return false;
  }
  return true;
}

bool SetPaths(LogScope& log, const std::wstring& sourceDirectory, const std::wstring& zipFile,
              ShellCopy& copy) {
  if (copy.sourcePath.SetText(sourceDirectory.c_str()) && copy.zipPath.SetText(zipFile.c_str())) {
    return true;
  }
  log.Error(L"ZipDirectory: Failed SysAllocString");
  return false;
}

bool OpenShell(LogScope& log, ShellCopy& copy) {
  // The thread may have COM already, of whatever kind; where it can't be had the next call fails.
  // It isn't given back, since the shell's threads may still work when this function ends.
  (void)CoInitialize(nullptr);
  const HRESULT result = CoCreateInstance(CLSID_Shell, nullptr, CLSCTX_INPROC_SERVER,
                                          IID_IShellDispatch, copy.shell.PutAny());
  if (!FAILED(result)) return true;
  log.Error(L"ZipDirectory: Failed to get shell dispatch: 0x%08x", result);
  return false;
}

// The shell answers a path that it can't open with a success and no folder: the pointer counts.

bool OpenSource(LogScope& log, bool includeFolder, ShellCopy& copy) {
  HRESULT result = copy.shell->NameSpace(copy.sourcePath.Get(), copy.source.Put());
  if (FAILED(result) || !copy.source) {
    log.Error(L"ZipDirectory: Failed to get source folder: 0x%08x", result);
    return false;
  }
  if (includeFolder) return true;
  result = copy.source->Items(copy.items.Put());
  if (FAILED(result) || !copy.items) {
    log.Error(L"ZipDirectory: Failed to get source folder items: 0x%08x", result);
    return false;
  }
  return true;
}

bool OpenDestination(LogScope& log, ShellCopy& copy) {
  const HRESULT result = copy.shell->NameSpace(copy.zipPath.Get(), copy.destination.Put());
  if (!FAILED(result) && copy.destination) return true;
  log.Error(L"ZipDirectory: Failed to get destination folder 0x%08x", result);
  return false;
}

bool MakeItem(LogScope& log, ShellCopy& copy) {
  IUnknown* const item = copy.items ? static_cast<IUnknown*>(copy.items.Get()) : copy.source.Get();
  IDispatch* dispatch = nullptr;
  const HRESULT result = item->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch));
  if (FAILED(result) || dispatch == nullptr) {
    log.Error(L"ZipDirectory: Failed to get source dispatch 0x%08x", result);
    return false;
  }
  copy.item.SetObject(dispatch);
  return true;
}

bool LookAround(LogScope& log, Before& before) {
  before.moduleCount = Host::GetModuleCount(kZipModule);
  if (Host::GetProcessThreads(GetCurrentProcessId(), {}, before.threads)) return true;
  log.Error(L"ZipDirectory: Failed to get BEFORE thread list!");
  return false;
}

bool StartCopy(LogScope& log, ShellCopy& copy) {
  copy.options.SetNumber(FOF_SILENT | FOF_NOCONFIRMATION | FOF_NOCONFIRMMKDIR | FOF_NOERRORUI);
  log.Info(L"ZipDirectory: Copying files to ZIP ...");
  const HRESULT result = copy.destination->CopyHere(copy.item.Get(), copy.options.Get());
  if (result == S_OK) return true;
  log.Error(L"ZipDirectory: Copy failed: 0x%08x", result);
  return false;
}

/// Lists the threads that have come since.
bool ListNewThreads(LogScope& log, const Before& before, ThreadSet& threads) {
  if (Host::GetProcessThreads(GetCurrentProcessId(), before.threads, threads)) return true;
  log.Error(L"ZipDirectory: Failed to get AFTER thread list!");
  return false;
}

/// Finds the threads of the copy.
/// \param[out] threads  Those of whatever else has started meanwhile, too. Empty when there are
/// none.
bool FindThreads(LogScope& log, const Before& before, ThreadSet& threads) {
  if (!ListNewThreads(log, before, threads)) return false;
  if (!threads.empty()) return true;
  log.Info(L"ZipDirectory: no thread found, try again in 2ms ...");
  Sleep(kPauseBeforeSecondLook);
  return ListNewThreads(log, before, threads);
}

/// A copy without a thread was over at once, or can't be watched. What it left tells the first from
/// the second.
bool HasContent(LogScope& log, const std::wstring& zipFile) {
  // The copy may be writing at this moment.
  constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  const Host::UniqueFile file(CreateFileW(zipFile.c_str(), GENERIC_READ, kShareAll, nullptr,
                                          OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    log.Error(L"ZipDirectory: Failed to open the zip file.");
    return false;
  }
  LARGE_INTEGER size = {};
  if (!GetFileSizeEx(file.Get(), &size)) {
    const DWORD error = GetLastError();
    log.Error(L"ZipDirectory: Failed to get the size of the zip file. Error: %d", error);
    return false;
  }
  log.Info(L"ZipDirectory: The %s file size is: %llu bytes.", zipFile.c_str(), size.QuadPart);
  return size.QuadPart != LONGLONG{sizeof kEmptyZip};
}

/// \return True when the shell's module is used no more than before the copy.
bool ModuleIsReleased(LogScope& log, int countBefore) {
  if (countBefore <= 0) {
    log.Info(L"ZipDirectory: no previous ref count, continue to wait");
    return false;
  }
  const int count = Host::GetModuleCount(kZipModule);
  if (count <= countBefore) {
    log.Info(L"ZipDirectory: ref count back to %d, done", count);
    return true;
  }
  log.Info(L"ZipDirectory: mod count is %d > %d, continue to wait", count, countBefore);
  return false;
}

/// Waits for the end of the threads. Those that stay, as the shell's workers may, are waited for as
/// long as the module's count says that the copy goes on.
void WaitForCopy(LogScope& log, const ThreadSet& threads, int countBefore) {
  // Whatever isn't a time-out means that there is nothing left to wait for.
  for (int round = 1; Host::WaitForChildThreads(threads, kThreadWait) == ERROR_TIMEOUT; ++round) {
    if (round >= kMaximumRounds) {
      log.Warn(L"ZipDirectory: maximum wait count %d reached, done", round);
      return;
    }
    if (ModuleIsReleased(log, countBefore)) return;
  }
}

}  // namespace

bool CreateEmptyZipFile(const std::wstring& path) {
  LogScope log;
  constexpr DWORD kNoSharing = 0;
  const Host::UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, kNoSharing, nullptr,
                                          CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) {
    const DWORD error = GetLastError();
    log.Error(L"CreateEmptyZipFile: Failed to create zip file %ws: %d", path.c_str(), error);
    return false;
  }
  DWORD written = 0;
  if (!WriteFile(file.Get(), kEmptyZip, sizeof kEmptyZip, &written, nullptr)) {
    const DWORD error = GetLastError();
    log.Error(L"CreateEmptyZipFile: Failed to write to new zip %ws: %d", path.c_str(), error);
    return false;
  }
  log.Info(L"CreateEmptyZipFile: Successfully created empty zip file");
  return true;
}

bool ZipDirectory(const std::wstring& sourceDirectory, const std::wstring& zipFile,
                  bool includeFolder) {
  LogScope log;
  if (!BothExist(log, sourceDirectory, zipFile)) return false;
  log.Info(L"ZipDirectory: Zipping '%s' into '%s'", sourceDirectory.c_str(), zipFile.c_str());
  ShellCopy copy;
  if (!SetPaths(log, sourceDirectory, zipFile, copy)) return false;
  if (!OpenShell(log, copy)) return false;
  if (!OpenSource(log, includeFolder, copy)) return false;
  if (!OpenDestination(log, copy)) return false;
  if (!MakeItem(log, copy)) return false;
  Before before;
  if (!LookAround(log, before)) return false;
  if (!StartCopy(log, copy)) return false;
  ThreadSet threads;
  if (!FindThreads(log, before, threads)) return false;
  if (threads.empty()) {
    log.Warn(L"ZipDirectory: Failed to find any threads to monitor");
    return HasContent(log, zipFile);
  }
  WaitForCopy(log, threads, before.moduleCount);
  return true;
}

}  // namespace Halvard::Transfer
