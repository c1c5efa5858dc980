#include "zelmo/types.h"

#include <map>
#include <vector>

#include "tunrak/exception.h"

namespace Zelmo {
namespace {

// What has been constructed so far, newest first. Constants of other files add to these before
// main, in any order, so they are initialised without code.
constinit const Type* gFirstType = nullptr;
constinit const Version* gFirstVersion = nullptr;

std::map<std::string_view, const Type*>& Types() {
  static std::map<std::string_view, const Type*> types;
  return types;
}

std::vector<const Version*>& Versions() {
  static std::vector<const Version*> versions;
  return versions;
}

template <typename Fits>
const Version* FindVersionThat(Fits fits, const std::string& description) {
  for (const Version* version : Versions()) {
    if (fits(*version)) return version;
  }
  throw Tunrak::Exception("Unknown version " + description + ".");
}

}  // namespace

Type::Type(const char* name, MakeStub makeStub) noexcept
    : name_(name), makeStub_(makeStub), next_(gFirstType) {
  gFirstType = this;
}

Version::Version(const char* name, const char* id, const char* vmodlName, const char* wireNamespace,
                 const char* soapAction) noexcept
    : name_(name),
      id_(id),
      vmodlName_(vmodlName),
      namespace_(wireNamespace),
      soapAction_(soapAction),
      next_(gFirstVersion) {
  gFirstVersion = this;
}

void InitializeStaticTypes() {
  for (const Type* type = gFirstType; type != nullptr; type = type->next_) {
    Types().emplace(type->GetName(), type);
  }
  Versions().clear();
  for (const Version* version = gFirstVersion; version != nullptr; version = version->next_) {
    Versions().push_back(version);
  }
}

const Type* FindType(std::string_view name) {
  const auto found = Types().find(name);
  return found == Types().end() ? nullptr : found->second;
}

const Version* FindVersion(const std::string& name, const std::string& id) {
  return FindVersionThat(
      [&](const Version& version) { return version.GetName() == name && version.GetId() == id; },
      "\"" + name + "\", \"" + id + "\"");
}

const Version* FindVersionByVmodlName(const std::string& vmodlName) {
  return FindVersionThat(
      [&](const Version& version) { return version.GetVmodlName() == vmodlName; },
      "\"" + vmodlName + "\"");
}

}  // namespace Zelmo
