#include "machine/shared_document.h"

#include <fcntl.h>
#include <json/writer.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

#include "machine/description.h"

namespace Lab {
namespace {

/// Keeps other processes and threads from changing the document meanwhile.
class DocumentLock {
 public:
  explicit DocumentLock(const std::filesystem::path& file)
      : file_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (file_ == -1 || flock(file_, LOCK_EX) == -1) {
      throw std::filesystem::filesystem_error("lab: can't lock the machine's state", file,
                                              std::error_code(errno, std::generic_category()));
    }
  }
  DocumentLock(const DocumentLock&) = delete;
  DocumentLock& operator=(const DocumentLock&) = delete;
  ~DocumentLock() { close(file_); }

 private:
  const int file_;
};

}  // namespace

SharedDocument::SharedDocument(const std::filesystem::path& instance, const std::string& name)
    : file_(instance / (name + ".json")), lock_(instance / "run" / (name + ".lock")) {}

Json::Value SharedDocument::Read() const {
  return std::filesystem::exists(file_) ? ReadJson(file_) : Json::Value();
}

void SharedDocument::Change(const std::function<void(Json::Value&)>& change) {
  const DocumentLock lock(lock_);
  Json::Value document = Read();
  change(document);
  const std::filesystem::path next = file_.string() + ".new";
  std::ofstream out(next, std::ios::binary | std::ios::trunc);
  out << document.toStyledString();
  out.close();
  if (!out) {
    throw std::filesystem::filesystem_error("lab: can't write the machine's state", next,
                                            std::make_error_code(std::errc::io_error));
  }
  std::filesystem::rename(next, file_);
}

}  // namespace Lab
