#include "machine/registry.h"

#include <sys/stat.h>

#include <cerrno>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "machine/reg_file.h"
#include "machine/shared_file.h"

namespace Lab {
namespace {

std::string ReadWhole(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

bool RegistryValue::IsText() const { return type == kSz || type == kExpandSz || type == kMultiSz; }

Registry::Registry(std::filesystem::path file) : file_(std::move(file)) { Refresh(); }

bool Registry::HasKey(std::wstring_view key) {
  const std::lock_guard lock(mutex_);
  Refresh();
  return tree_.contains(key);
}

std::optional<RegistryValue> Registry::Find(std::wstring_view key, std::wstring_view name) {
  const std::lock_guard lock(mutex_);
  Refresh();
  const auto values = tree_.find(key);
  if (values == tree_.end()) return std::nullopt;
  const auto value = values->second.find(name);
  if (value == values->second.end()) return std::nullopt;
  return value->second;
}

void Registry::Set(std::wstring_view key, std::wstring_view name, RegistryValue value) {
  const std::lock_guard lock(mutex_);
  const FileLock others(file_.parent_path() / "run" / "registry.lock");
  Refresh();
  for (std::size_t end = key.find(L'\\'); end != std::wstring_view::npos;
       end = key.find(L'\\', end + 1)) {
    tree_.try_emplace(std::wstring(key.substr(0, end)));
  }
  tree_[std::wstring(key)][std::wstring(name)] = std::move(value);
  ReplaceContents(file_, WriteRegFile(tree_));
}

void Registry::Refresh() {
  struct stat state {};
  if (stat(file_.c_str(), &state) == -1) {
    throw std::filesystem::filesystem_error("lab: can't read the registry", file_,
                                            std::error_code(errno, std::generic_category()));
  }
  const Version version{state.st_ino, state.st_mtim.tv_sec, state.st_mtim.tv_nsec, state.st_size};
  if (version == readVersion_) return;
  RegistryTree tree;
  ReadRegFile(ReadWhole(file_), tree);
  tree_ = std::move(tree);
  readVersion_ = version;
}

}  // namespace Lab
