#include "machine/folders.h"

#include "machine/text.h"
#include "security/sddl.h"
#include "winnt.h"

namespace Lab {
namespace {

std::uint32_t AttributeNamed(const std::string& name) {
  if (name == "system") return FILE_ATTRIBUTE_SYSTEM;
  return name == "compressed" ? FILE_ATTRIBUTE_COMPRESSED : FILE_ATTRIBUTE_ENCRYPTED;
}

}  // namespace

Folders ReadFolders(const Json::Value& folderRights, const Json::Value& folderAttributes) {
  Folders read;
  for (const std::string& folder : folderRights.getMemberNames()) {
    read.rights[ToWide(folder)] = ParseSddl(ToWide(folderRights[folder].asString()));
  }
  for (const std::string& folder : folderAttributes.getMemberNames()) {
    std::uint32_t& attributes = read.attributes[ToWide(folder)];
    for (const Json::Value& name : folderAttributes[folder]) {
      attributes |= AttributeNamed(name.asString());
    }
  }
  return read;
}

}  // namespace Lab
