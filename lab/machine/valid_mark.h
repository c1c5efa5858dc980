// What the programs of an instance know of its description from each other.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace Lab {

/// A mark in run/ that the schema allows the description as it stands: every process of the machine
/// reads it at its start, and the schema takes longer than all else there.
class ValidMark {
 public:
  /// \param description  The bytes of machine.json.
  ValidMark(const std::filesystem::path& instance, std::string_view description);

  /// \return False when nobody has tested these bytes against this schema.
  bool Stands() const;

  /// Spares others the test. Where the mark can't be written, they make it themselves.
  void Leave() const;

 private:
  const std::filesystem::path file_;
  const std::string text_;
};

}  // namespace Lab
