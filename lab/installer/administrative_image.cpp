#include "installer/administrative_image.h"

#include <libgcab.h>

#include <vector>

#include "installer/package.h"
#include "installer/package_tree.h"
#include "machine/text.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// \return The entry of a folder that has this name in any case, or that it would have.
fs::path EntryNamed(const fs::path& folder, const std::string& name) {
  if (fs::exists(folder / name)) return folder / name;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
    if (EqualNoCase(ToWide(entry.path().filename().string()), ToWide(name))) return entry.path();
  }
  return folder / name;
}

/// Makes the folders of a path below the root. \return The place of the path.
fs::path MakePlace(const fs::path& root, const fs::path& path) {
  fs::path place = root;
  for (const fs::path& name : path.parent_path()) {
    place = EntryNamed(place, name.string());
    fs::create_directory(place);
  }
  return EntryNamed(place, path.filename().string());
}

/// \return Names of the cabinets in the package, which hold all of its files.
std::vector<std::string> CabinetsOf(const Package& package) {
  std::vector<std::string> cabinets;
  for (const Package::Row& row : package.Rows("Media", {"Cabinet"})) {
    if (!row[0].starts_with('#')) {
      throw UnsupportedError("files that lie outside of the package: \"" + row[0] + "\"");
    }
    cabinets.push_back(row[0].substr(1));
  }
  return cabinets;
}

void CheckRoom(const std::map<std::string, PackageFile>& files, const fs::path& packageFile,
               std::optional<std::uint64_t> room) {
  std::uint64_t needed = fs::file_size(packageFile);
  for (const auto& [key, file] : files) needed += file.size;
  if (room && needed > *room) {
    throw InstallError("the disk is full: " + std::to_string(needed) + " bytes are needed");
  }
}

using Places = std::map<std::string, std::string>;

/// Makes the folders for the files. \return Where each goes below the target, by its key.
Places MakePlaces(const std::map<std::string, PackageFile>& files, const fs::path& target) {
  Places places;
  for (const auto& [key, file] : files) {
    places[key] = MakePlace(target, file.path).lexically_relative(target).string();
  }
  return places;
}

/// What one cabinet's files are asked for while it is unpacked.
struct Unpacking {
  Places& left;
  std::vector<std::string> unpacked;
};

/// Tells the library where a file goes. \return False for one that isn't wanted.
gboolean PlaceFile(GCabFile* file, gpointer data) {
  auto& unpacking = *static_cast<Unpacking*>(data);
  const auto found = unpacking.left.find(gcab_file_get_name(file));
  if (found == unpacking.left.end()) return FALSE;
  gcab_file_set_extract_name(file, found->second.c_str());
  unpacking.unpacked.push_back(found->first);
  return TRUE;
}

/// Unpacks the files of one cabinet, and takes them off the list.
void UnpackCabinet(GInputStream* stream, const fs::path& target, Places& left) {
  const ObjectOwner<GCabCabinet> cabinet(gcab_cabinet_new());
  const ObjectOwner<GFile> folder(g_file_new_for_path(target.c_str()));
  Unpacking unpacking{left, {}};
  CallError error;
  if (!gcab_cabinet_load(cabinet.get(), stream, nullptr, error) ||
      !gcab_cabinet_extract_simple(cabinet.get(), folder.get(), PlaceFile, &unpacking, nullptr,
                                   error)) {
    throw InstallError("a cabinet can't be unpacked: " + error.Text());
  }
  for (const std::string& key : unpacking.unpacked) left.erase(key);
}

void CopyPackage(const fs::path& packageFile, const fs::path& target,
                 const std::vector<std::string>& cabinets) {
  const fs::path copy = EntryNamed(target, packageFile.filename().string());
  fs::copy_file(packageFile, copy, fs::copy_options::overwrite_existing);
  fs::permissions(copy, fs::perms::owner_write, fs::perm_options::add);
  Package(copy, Package::Mode::kChange).BecomeImage(cabinets);
}

}  // namespace

void MakeAdministrativeImage(const fs::path& packageFile, const fs::path& target,
                             std::optional<std::uint64_t> room) {
  const Package package(packageFile, Package::Mode::kRead);
  const std::map<std::string, PackageFile> files = FilesOfImage(package);
  const std::vector<std::string> cabinets = CabinetsOf(package);
  CheckRoom(files, packageFile, room);

  fs::create_directories(target);
  if (HasImageStep(package, "InstallAdminPackage")) CopyPackage(packageFile, target, cabinets);
  Places left = MakePlaces(files, target);
  for (const std::string& cabinet : cabinets) {
    if (!left.empty()) UnpackCabinet(package.Stream(cabinet).get(), target, left);
  }
  if (!left.empty()) throw InstallError("not in the cabinets: " + left.begin()->second);
}

}  // namespace Lab
