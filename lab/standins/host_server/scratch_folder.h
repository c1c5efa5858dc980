// Files of the host that a stand-in needs for as long as it lives.
#pragma once

#include <filesystem>
#include <string>

namespace Lab {

/// A new folder among the host's temporary ones. Its end removes it with all that it holds.
class ScratchFolder {
 public:
  /// \param name  What the folder's name begins with.
  /// \throw std::runtime_error when it can't be made.
  explicit ScratchFolder(const std::string& name);
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;
  ~ScratchFolder();

  const std::filesystem::path& Path() const { return path_; }
  std::filesystem::path operator/(const std::string& file) const { return path_ / file; }

  void Write(const std::string& file, const std::string& text) const;
  /// \return The file's text; empty when there is no such file.
  std::string Read(const std::string& file) const;

 private:
  std::filesystem::path path_;
};

}  // namespace Lab
