#include "support/lab_instance.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <stdexcept>

#include "machine/paths.h"
#include "machine/reg_file.h"
#include "machine/start.h"
#include "machine/text.h"
#include "machine/variables.h"
#include "shell/zip_copies.h"
#include "support/file_bytes.h"

namespace Lab {
namespace {

namespace fs = std::filesystem;

/// Names the folder of the newest machine of a test to the test's children. A death test's child
/// goes through the test again, with a machine of its own, and dies before it can remove that: it
/// lies in the folder of its parent's, which removes both.
constexpr char kFolderOfParent[] = "HALVARD_TEST_MACHINE";

fs::path FolderForMachines() {
  const char* const ofParent = std::getenv(kFolderOfParent);
  return ofParent == nullptr ? fs::temp_directory_path() : fs::path(ofParent);
}

fs::path MakeTemporaryFolder() {
  // Before this process names a folder of its own.
  static const fs::path place = FolderForMachines();
  std::string folder = place / "halvard \xCE\xA9 \xE8\xA9\xA6 \xF0\x9D\x92\xBD-XXXXXX";
  if (mkdtemp(folder.data()) == nullptr) throw std::runtime_error("can't make " + folder);
  setenv(kFolderOfParent, folder.c_str(), 1);
  return folder;
}

/// Puts the user's profile where its path has more than plain letters.
void MoveProfile(Json::Value& value) {
  constexpr std::string_view kPlain = "C:\\Users\\Administrator";
  if (value.isString() && value.asString().starts_with(kPlain)) {
    value = ToUtf8(Instance::kProfile) + value.asString().substr(kPlain.size());
  } else if (value.isObject() || value.isArray()) {
    for (Json::Value& member : value) MoveProfile(member);
  }
}

/// \return The member that a pointer like "/computer/name" means; made where it isn't there.
Json::Value& MemberAt(Json::Value& document, std::string_view pointer) {
  Json::Value* value = &document;
  while (!pointer.empty()) {
    pointer.remove_prefix(1);
    const std::string name(pointer.substr(0, pointer.find('/')));
    value = value->isArray() ? &(*value)[static_cast<Json::ArrayIndex>(std::stoul(name))]
                             : &(*value)[name];
    pointer.remove_prefix(name.size());
  }
  return *value;
}

void WriteWhole(const fs::path& file, std::string_view bytes) {
  std::ofstream out(file, std::ios::binary | std::ios::trunc);
  out << bytes;
  out.close();
  if (!out) throw std::runtime_error("can't write " + file.string());
}

std::wstring Expanded(std::wstring_view path) {
  return ExpandVariables(path, TheMachine().Describe().processVariables);
}

}  // namespace

Instance::Instance(const std::string& machine)
    : parent_(MakeTemporaryFolder()), folder_(parent_ / "machine") {
  const DescribedMachine described(MachineFolder(machine));
  described.Start(folder_);
  document_ = described.Document();
  MoveProfile(document_);
  Reopen();
  for (const Json::Value& folder : document_["folders"]) MakeFolder(ToWide(folder.asString()));
}

Instance::~Instance() {
  TheZipCopies().EndAll();
  unsetenv(kFolderOfParent);
  std::error_code ignored;
  fs::remove_all(parent_, ignored);
}

void Instance::Reopen() {
  WriteDescription(document_, folder_);
  OpenMachine(folder_);
}

void Instance::Set(std::string_view pointer, const Json::Value& value) {
  MemberAt(document_, pointer) = value;
  Reopen();
}

void Instance::Remove(std::string_view pointer) {
  const std::size_t last = pointer.rfind('/');
  MemberAt(document_, pointer.substr(0, last)).removeMember(std::string(pointer.substr(last + 1)));
  Reopen();
}

void Instance::SetSystemVariable(const std::wstring& name, const std::wstring& value) {
  document_["environment"]["system"][ToUtf8(name)] = ToUtf8(value);
  Reopen();
}

void Instance::SetVariable(const std::wstring& name, const std::wstring& value) {
  document_["environment"]["process"][ToUtf8(name)] = ToUtf8(value);
  Reopen();
}

void Instance::RemoveVariable(const std::wstring& name) {
  for (const char* part : {"system", "user", "process"}) {
    document_["environment"][part].removeMember(ToUtf8(name));
  }
  Reopen();
}

void Instance::AddProduct(const std::wstring& upgradeCode, const std::wstring& version) {
  char code[40];
  std::snprintf(code, sizeof code, "{FFFFFFFF-7E57-4000-8000-%012X}", ++products_);
  Json::Value& product = document_["products"][code];
  product["upgradeCode"] = ToUtf8(upgradeCode);
  product["properties"]["VersionString"] = ToUtf8(version);
  Reopen();
}

void Instance::RemoveProducts(const std::wstring& upgradeCode) {
  Json::Value& products = document_["products"];
  for (const std::string& code : products.getMemberNames()) {
    if (products[code]["upgradeCode"] == ToUtf8(upgradeCode)) products.removeMember(code);
  }
  Reopen();
}

void Instance::PlanFault(const Fault& fault) {
  Json::Value entry;
  entry["function"] = fault.function;
  if (fault.call != 0) {
    entry["call"] = fault.call;
  } else {
    entry["from"] = fault.from;
  }
  if (!fault.match.empty()) entry["match"] = ToUtf8(fault.match);
  entry["error"] = fault.error;
  document_["faults"].append(entry);
  Reopen();
}

void Instance::SetRegistryString(const std::wstring& key, const std::wstring& name,
                                 const std::wstring& text) {
  SetRegistryValue(key, name, {.type = 1, .text = text + L'\0'});
}

void Instance::SetRegistryValue(const std::wstring& key, const std::wstring& name,
                                const RegistryValue& value) {
  TheMachine().Registry().Set(key, name, value);
}

void Instance::RemoveRegistryKey(const std::wstring& key) {
  ApplyRegistry("[-" + ToUtf8(key) + "]\n");
}

void Instance::RemoveRegistryValue(const std::wstring& key, const std::wstring& name) {
  ApplyRegistry("[" + ToUtf8(key) + "]\n\"" + ToUtf8(name) + "\"=-\n");
}

void Instance::ApplyRegistry(const std::string& entries) {
  const fs::path file = folder_ / "registry.reg";
  const RegistryTree nothing;
  RegistryTree tree;
  ReadRegFile(FileBytes(file), tree);
  ReadRegFile(WriteRegFile(nothing) + entries, tree);
  WriteWhole(parent_ / "registry.reg", WriteRegFile(tree));
  fs::rename(parent_ / "registry.reg", file);
}

std::optional<std::wstring> Instance::RegistryString(const std::wstring& key,
                                                     const std::wstring& name) const {
  constexpr std::uint32_t kSz = 1;
  const auto value = TheMachine().Registry().Find(key, name);
  if (!value || value->type != kSz) return std::nullopt;
  return value->text.substr(0, value->text.find(L'\0'));
}

fs::path Instance::HostPath(std::wstring_view path) const { return Lab::HostPath(Expanded(path)); }

bool Instance::FileExists(std::wstring_view path) const {
  return FindPath(Expanded(path)).error == 0;
}

std::optional<std::string> Instance::ReadFile(std::wstring_view path) const {
  const FoundPath found = FindPath(Expanded(path));
  if (found.error != 0 || !fs::is_regular_file(found.host)) return std::nullopt;
  return FileBytes(found.host);
}

void Instance::WriteFile(std::wstring_view path, std::string_view bytes) {
  const std::wstring full = FullPath(Expanded(path));
  MakeFolder(full.substr(0, full.rfind(L'\\') + 1));
  WriteWhole(Lab::HostPath(full), bytes);
}

void Instance::MakeFolder(std::wstring_view path) {
  const std::wstring full = FullPath(Expanded(path)) + L'\\';
  for (std::size_t end = full.find(L'\\', 3); end != std::wstring::npos;
       end = full.find(L'\\', end + 1)) {
    fs::create_directory(Lab::HostPath(full.substr(0, end)));
  }
}

void Instance::RemoveFile(std::wstring_view path) { fs::remove_all(HostPath(path)); }

std::vector<std::wstring> Instance::ListFolder(std::wstring_view path) const {
  std::vector<std::wstring> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(HostPath(path))) {
    names.push_back(ToWide(entry.path().filename().string()));
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace Lab
