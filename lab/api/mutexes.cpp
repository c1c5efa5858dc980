// Named mutexes: each name is a file in the instance's run folder, and every handle holds a shared
// lock on it. The kernel lets go of it when a process dies, so the name ends with its last handle.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "api/failure.h"
#include "files/host_errors.h"
#include "machine/call.h"
#include "machine/handles.h"
#include "machine/machine.h"
#include "machine/text.h"
#include "windows.h"

namespace {

using Lab::FailWithNull;

namespace fs = std::filesystem;

constexpr std::wstring_view kGlobal = L"Global\\";
constexpr std::wstring_view kLocal = L"Local\\";

/// A mutex that nobody owns: programs learn from its name alone that another one runs.
class Mutex : public Lab::Object {
 public:
  explicit Mutex(int descriptor) : descriptor_(descriptor) {}
  ~Mutex() override {
    if (descriptor_ >= 0) close(descriptor_);
  }
  const char* TypeName() const override { return "Mutant"; }

 private:
  const int descriptor_;  // -1 without a name
};

/// \return A file name for the object's name; case counts, and no two names share one.
std::string FileNameOf(const std::wstring& name) {
  std::string file;
  for (const char c : Lab::ToUtf8(name)) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0 || c == '-' || c == '_') {
      file += c;
    } else {
      char code[4] = {};
      std::snprintf(code, sizeof(code), "%%%02X", byte);
      file += code;
    }
  }
  return file + ".mutex";
}

/// Only one process at a time finds out whether a name is taken.
class NamesGate {
 public:
  explicit NamesGate(const fs::path& folder)
      : descriptor_(open((folder / "names.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644)) {
    while (flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  NamesGate(const NamesGate&) = delete;
  NamesGate& operator=(const NamesGate&) = delete;
  ~NamesGate() { close(descriptor_); }

 private:
  const int descriptor_;
};

HANDLE OpenNamed(const std::wstring& name) {
  const fs::path folder = Lab::TheMachine().RunFolder();
  const NamesGate gate(folder);
  const int descriptor =
      open((folder / FileNameOf(name)).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (descriptor < 0) return FailWithNull(Lab::ErrorOfHost(errno));
  const bool isNew = flock(descriptor, LOCK_EX | LOCK_NB) == 0;
  flock(descriptor, LOCK_SH);
  const HANDLE handle = Lab::Handles().Add(std::make_shared<Mutex>(descriptor));
  SetLastError(isNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
  return handle;
}

}  // namespace

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES attributes, BOOL initialOwner, LPCWSTR name) {
  const Lab::Call call("CreateMutexW", name == nullptr ? L"" : name);
  if (call.FailsByPlan()) return nullptr;
  LAB_SUPPORTS(attributes == nullptr && initialOwner == FALSE);
  std::wstring_view text = name == nullptr ? L"" : name;
  if (text.empty()) {
    SetLastError(ERROR_SUCCESS);
    return Lab::Handles().Add(std::make_shared<Mutex>(-1));
  }
  // A name without a prefix is one of the session, which is the whole instance here.
  std::wstring prefix;
  if (text.starts_with(kGlobal)) prefix = kGlobal;
  if (text.starts_with(kLocal)) text.remove_prefix(kLocal.size());
  text.remove_prefix(prefix.size());
  if (text.find(L'\\') != std::wstring_view::npos) return FailWithNull(ERROR_PATH_NOT_FOUND);
  if (text.size() > MAX_PATH) return FailWithNull(ERROR_FILENAME_EXCED_RANGE);
  return OpenNamed(prefix + std::wstring(text));
}
