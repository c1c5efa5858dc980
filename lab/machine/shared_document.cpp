#include "machine/shared_document.h"

#include "machine/description.h"
#include "machine/shared_file.h"

namespace Lab {

SharedDocument::SharedDocument(const std::filesystem::path& instance, const std::string& name)
    : file_(instance / (name + ".json")), lock_(instance / "run" / (name + ".lock")) {}

Json::Value SharedDocument::Read() const {
  return std::filesystem::exists(file_) ? ReadJson(file_) : Json::Value();
}

void SharedDocument::Change(const std::function<void(Json::Value&)>& change) {
  const FileLock lock(lock_);
  Json::Value document = Read();
  change(document);
  ReplaceContents(file_, document.toStyledString());
}

}  // namespace Lab
