#include "machine/start.h"

#include <json/writer.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "machine/description.h"
#include "machine/reg_file.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostLayers = 16;

/// Lays \p patch over \p target: objects member by member, null removes, all else replaces.
void MergePatch(Json::Value& target, const Json::Value& patch) {
  if (!patch.isObject()) {
    target = patch;
    return;
  }
  if (!target.isObject()) target = Json::Value(Json::objectValue);
  for (const std::string& name : patch.getMemberNames()) {
    if (patch[name].isNull()) {
      target.removeMember(name);
    } else {
      MergePatch(target[name], patch[name]);
    }
  }
}

/// Takes the member "base" out of a description. \return The base's folder.
fs::path TakeBase(Json::Value& patch, const fs::path& folder) {
  Json::Value base;
  patch.removeMember("base", &base);
  const fs::path file = folder / "machine.json";
  if (base.isString() && !base.asString().empty()) {
    const fs::path below = folder.parent_path() / base.asString();
    if (fs::exists(below / "machine.json")) return below;
  }
  throw MachineError(file.string() + ": /base: expected the name of a machine beside this one");
}

/// \return The absolute folder of a machine that is named by it or by its machine.json.
fs::path MachineFolderOf(const fs::path& named) {
  const fs::path whole = fs::absolute(named).lexically_normal();
  if (whole.filename() == "machine.json" || !whole.has_filename()) return whole.parent_path();
  return whole;
}

bool IsDriveTree(const fs::path& folder) {
  const std::string name = folder.filename().string();
  return name.size() == 7 && name.starts_with("drive_") && name[6] >= 'a' && name[6] <= 'z';
}

void WriteFile(const fs::path& file, const std::string& contents) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << contents;
  out.close();
  if (!out) {
    throw fs::filesystem_error("lab: can't write", file, std::make_error_code(std::errc::io_error));
  }
}

RegistryTree ReadRegistry(const std::vector<fs::path>& layers) {
  RegistryTree tree;
  for (const fs::path& layer : layers) {
    const fs::path file = layer / "registry.reg";
    if (!fs::exists(file)) continue;
    std::ifstream in(file, std::ios::binary);
    const std::string contents{std::istreambuf_iterator<char>(in), {}};
    try {
      ReadRegFile(contents, tree);
    } catch (const RegFileError& error) {
      throw MachineError(file.string() + ": " + error.what());
    }
  }
  return tree;
}

/// The place of a Windows path in an instance that isn't open yet.
fs::path PlaceIn(const fs::path& instance, const std::string& windowsPath) {
  std::string below = windowsPath.substr(2);
  std::replace(below.begin(), below.end(), '\\', '/');
  const char drive = static_cast<char>(windowsPath[0] - 'A' + 'a');
  return instance / (std::string("drive_") + drive) / below.substr(1);
}

/// Puts what comes with the agent beside its program.
void PlacePackages(const Json::Value& program, const fs::path& instance) {
  const fs::path folder = PlaceIn(instance, program["path"].asString()).parent_path();
  for (const Json::Value& name : program["packages"]) {
    const fs::path package = fs::path(LAB_PACKAGES_FOLDER) / name.asString();
    if (!fs::exists(package)) {
      throw MachineError("/program/packages: expected packages that the build has made; " +
                         package.string() + " isn't there");
    }
    fs::create_directories(folder);
    fs::copy_file(package, folder / package.filename());
  }
}

}  // namespace

DescribedMachine::DescribedMachine(const fs::path& folder) {
  std::vector<Json::Value> patches;
  fs::path layer = MachineFolderOf(folder);
  for (bool hasBase = true; hasBase;) {
    layers_.insert(layers_.begin(), layer);
    patches.insert(patches.begin(), ReadJson(layer / "machine.json"));
    hasBase = patches.front().isObject() && patches.front().isMember("base");
    if (hasBase) layer = TakeBase(patches.front(), layer);
    if (layers_.size() > kMostLayers) {
      throw MachineError((layer / "machine.json").string() +
                         ": /base: expected a base that doesn't lead back here");
    }
  }
  // Each base has to be a whole machine of its own, so a fault is told of the file that has it.
  for (std::size_t i = 0; i < layers_.size(); ++i) {
    MergePatch(document_, patches[i]);
    ParseDescription(document_, layers_[i] / "machine.json");
  }
  ReadRegistry(layers_);
}

void DescribedMachine::Start(const fs::path& instance) const {
  if (fs::exists(instance) && !fs::is_empty(instance)) {
    throw MachineError(instance.string() + ": expected a folder that is empty or doesn't exist");
  }
  fs::create_directories(instance / "run");
  fs::create_directories(instance / "drive_c");
  for (const fs::path& layer : layers_) {
    for (const fs::directory_entry& entry : fs::directory_iterator(layer)) {
      if (!IsDriveTree(entry.path())) continue;
      fs::copy(entry.path(), instance / entry.path().filename(),
               fs::copy_options::recursive | fs::copy_options::overwrite_existing);
    }
  }
  for (const Json::Value& folder : document_["folders"]) {
    fs::create_directories(PlaceIn(instance, folder.asString()));
  }
  PlacePackages(document_["program"], instance);
  WriteFile(instance / "registry.reg", WriteRegFile(ReadRegistry(layers_)));
  WriteDescription(document_, instance);
}

fs::path MachineFolder(const std::string& name) { return fs::path(LAB_MACHINES_FOLDER) / name; }

std::vector<std::string> MachineNames() {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(LAB_MACHINES_FOLDER)) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void WriteDescription(const Json::Value& document, const fs::path& instance) {
  Json::StreamWriterBuilder builder;
  builder["indentation"] = "  ";
  builder["emitUTF8"] = true;
  WriteFile(instance / "machine.json", Json::writeString(builder, document) + "\n");
}

}  // namespace Lab
