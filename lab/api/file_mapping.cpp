// Files mapped into memory, whole and read-only.
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "api/failure.h"
#include "files/host_errors.h"
#include "files/open_file.h"
#include "machine/call.h"
#include "windows.h"

namespace {

using Lab::FailWithNull;

constexpr DWORD kInvalidAddress = 487;

/// A file that is mapped: it stays open as long as the mapping or a view of it is there.
class Mapping : public Lab::Object {
 public:
  Mapping(std::shared_ptr<Lab::OpenFile> file, std::size_t size)
      : file_(std::move(file)), size_(size) {
    file_->AddMapping();
  }
  ~Mapping() override { file_->RemoveMapping(); }

  const char* TypeName() const override { return "Section"; }

  /// \return What the file holds now, as it was read one piece after the other; null with errno
  ///         after a failure.
  ///
  /// It is a copy: nobody can cut a mapped file on Windows, but a program of the host can, and a
  /// reader of a real mapping would die of it. Bytes that are already gone are zeros.
  void* Map() const {
    void* const view =
        mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (view == MAP_FAILED) return nullptr;
    if (Fill(static_cast<char*>(view)) && mprotect(view, size_, PROT_READ) == 0) return view;
    const int error = errno;
    munmap(view, size_);
    errno = error;
    return nullptr;
  }
  void Unmap(void* view) const { munmap(view, size_); }

 private:
  bool Fill(char* view) const {
    for (std::size_t filled = 0; filled < size_;) {
      const ssize_t count =
          pread(file_->Descriptor(), view + filled, size_ - filled, static_cast<off_t>(filled));
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) return count == 0;
      filled += static_cast<std::size_t>(count);
    }
    return true;
  }

  const std::shared_ptr<Lab::OpenFile> file_;
  const std::size_t size_;
};

/// The views of this process by their addresses.
class Views {
 public:
  static Views& Instance() {
    static Views& views = *new Views;
    return views;
  }

  void Add(void* view, std::shared_ptr<Mapping> mapping) {
    const std::lock_guard lock(mutex_);
    views_.emplace(view, std::move(mapping));
  }

  /// \return What the view belonged to; null when there is no view at that address.
  std::shared_ptr<Mapping> Take(const void* view) {
    const std::lock_guard lock(mutex_);
    const auto entry = views_.find(const_cast<void*>(view));
    if (entry == views_.end()) return nullptr;
    return std::move(views_.extract(entry).mapped());
  }

 private:
  std::mutex mutex_;
  std::map<void*, std::shared_ptr<Mapping>> views_;
};

}  // namespace

HANDLE CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES attributes, DWORD protection,
                          DWORD sizeHigh, DWORD sizeLow, LPCWSTR name) {
  const Lab::Call call("CreateFileMappingW");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(attributes == nullptr && name == nullptr && protection == PAGE_READONLY);
  LAB_SUPPORTS(sizeHigh == 0 && sizeLow == 0);
  // Both values mean memory without a file, which needs a size.
  if (file == nullptr || file == INVALID_HANDLE_VALUE) return FailWithNull(ERROR_INVALID_PARAMETER);
  auto open = Lab::Handles().FindAs<Lab::OpenFile>(file);
  if (open == nullptr) return FailWithNull(ERROR_INVALID_HANDLE);
  if (!open->Reads()) return FailWithNull(ERROR_ACCESS_DENIED);
  struct stat status = {};
  if (fstat(open->Descriptor(), &status) != 0) return FailWithNull(Lab::ErrorOfHost(errno));
  if (status.st_size == 0) return FailWithNull(ERROR_FILE_INVALID);
  const auto size = static_cast<std::size_t>(status.st_size);
  const HANDLE handle = Lab::Handles().Add(std::make_shared<Mapping>(std::move(open), size));
  // Success tells, as for other objects that can have a name, that it is a new one.
  SetLastError(ERROR_SUCCESS);
  return handle;
}

LPVOID MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T size) {
  const Lab::Call call("MapViewOfFile");
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(access == FILE_MAP_READ && offsetHigh == 0 && offsetLow == 0 && size == 0);
  auto section = Lab::Handles().FindAs<Mapping>(mapping);
  if (section == nullptr) return FailWithNull(ERROR_INVALID_HANDLE);
  void* const view = section->Map();
  if (view == nullptr) return FailWithNull(Lab::ErrorOfHost(errno));
  Views::Instance().Add(view, std::move(section));
  return view;
}

BOOL UnmapViewOfFile(LPCVOID view) {
  const Lab::Call call("UnmapViewOfFile");
  if (call.FailsByPlan()) return FALSE;
  const std::shared_ptr<Mapping> mapping = Views::Instance().Take(view);
  if (mapping == nullptr) return Lab::Fail(kInvalidAddress);
  mapping->Unmap(const_cast<void*>(view));
  return TRUE;
}
