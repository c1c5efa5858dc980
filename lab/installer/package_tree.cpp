#include "installer/package_tree.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace Lab {
namespace {

namespace fs = std::filesystem;

constexpr int kMostLevels = 64;

std::uint64_t Number(const std::string& text) {
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

/// The long one of "short|long".
std::string LongName(const std::string& name) {
  const std::size_t bar = name.find('|');
  return bar == std::string::npos ? name : name.substr(bar + 1);
}

/// A name as part of a path: whatever a package says, it can't lead out of its folder.
const std::string& Checked(const std::string& name) {
  if (name.empty() || name == ".." || name.find_first_of("/\\:") != std::string::npos) {
    throw InstallError("a name that is none: " + name);
  }
  return name;
}

/// The folders of a package by their keys.
class Folders {
 public:
  explicit Folders(const Package& package) {
    for (const Package::Row& row :
         package.Rows("Directory", {"Directory", "Directory_Parent", "DefaultDir"})) {
      folders_[row[0]] = {row[1], row[2]};
    }
  }

  fs::path PathOf(const std::string& key, int levels = 0) const {
    const auto found = folders_.find(key);
    if (found == folders_.end() || levels > kMostLevels) {
      throw InstallError("no way to the folder " + key);
    }
    const Folder& folder = found->second;
    // The root has no folder above it, and is the image's own.
    if (folder.parent.empty() || folder.parent == key) return {};
    // "target:source": an image is made of sources. "." stands for no folder of its own.
    const std::string source = folder.names.substr(folder.names.find(':') + 1);
    const std::string name = LongName(source);
    const fs::path parent = PathOf(folder.parent, levels + 1);
    return name == "." ? parent : parent / Checked(name);
  }

 private:
  struct Folder {
    std::string parent;
    std::string names;
  };
  std::map<std::string, Folder> folders_;
};

/// Components of the features that are installed at all.
std::set<std::string> InstalledComponents(const Package& package) {
  std::set<std::string> features;
  for (const Package::Row& row : package.Rows("Feature", {"Feature", "Level"})) {
    if (row[1] != "0") features.insert(row[0]);
  }
  std::set<std::string> components;
  for (const Package::Row& row : package.Rows("FeatureComponents", {"Feature_", "Component_"})) {
    if (features.contains(row[0])) components.insert(row[1]);
  }
  return components;
}

}  // namespace

bool HasImageStep(const Package& package, const std::string& action) {
  const std::vector<Package::Row> steps = package.Rows("AdminExecuteSequence", {"Action"});
  return std::any_of(steps.begin(), steps.end(),
                     [&](const Package::Row& row) { return row[0] == action; });
}

std::map<std::string, PackageFile> FilesOfImage(const Package& package) {
  std::map<std::string, PackageFile> files;
  if (!HasImageStep(package, "InstallFiles")) return files;
  const Folders folders(package);
  const std::set<std::string> installed = InstalledComponents(package);
  std::map<std::string, std::string> folderOfComponent;
  for (const Package::Row& row : package.Rows("Component", {"Component", "Directory_"})) {
    folderOfComponent[row[0]] = row[1];
  }
  for (const Package::Row& row :
       package.Rows("File", {"File", "Component_", "FileName", "FileSize"})) {
    if (!installed.contains(row[1])) continue;
    const fs::path folder = folders.PathOf(folderOfComponent[row[1]]);
    files[row[0]] = {folder / Checked(LongName(row[2])), Number(row[3])};
  }
  return files;
}

}  // namespace Lab
