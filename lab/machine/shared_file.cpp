#include "machine/shared_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <system_error>

namespace Lab {

FileLock::FileLock(const std::filesystem::path& file)
    : descriptor_(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
  if (descriptor_ == -1 || flock(descriptor_, LOCK_EX) == -1) {
    throw std::filesystem::filesystem_error("lab: can't lock", file,
                                            std::error_code(errno, std::generic_category()));
  }
}

FileLock::~FileLock() { close(descriptor_); }

void ReplaceContents(const std::filesystem::path& file, std::string_view contents) {
  const std::filesystem::path next = file.string() + ".new";
  std::ofstream out(next, std::ios::binary | std::ios::trunc);
  out << contents;
  out.close();
  if (!out) {
    throw std::filesystem::filesystem_error("lab: can't write", next,
                                            std::make_error_code(std::errc::io_error));
  }
  std::filesystem::rename(next, file);
}

}  // namespace Lab
