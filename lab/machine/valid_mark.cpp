#include "machine/valid_mark.h"

#include <fstream>
#include <functional>
#include <string>

#include "machine/machine_schema.h"
#include "machine/shared_file.h"

namespace Lab {
namespace {

std::string Digest(std::string_view text) {
  return std::to_string(std::hash<std::string_view>()(text));
}

}  // namespace

ValidMark::ValidMark(const std::filesystem::path& instance, std::string_view description)
    : file_(instance / "run" / "machine.valid"),
      text_(Digest(kMachineSchema) + " " + Digest(description)) {}

bool ValidMark::Stands() const {
  std::ifstream in(file_, std::ios::binary);
  std::string text;
  return std::getline(in, text) && text == text_;
}

void ValidMark::Leave() const {
  try {
    ReplaceContents(file_, text_);
  } catch (const std::filesystem::filesystem_error&) {
    // Another program may be writing the same, or the disk be full.
  }
}

}  // namespace Lab
