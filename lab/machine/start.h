// From a described machine (lab/machines/NAME) to an instance that a program can run on.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <json/value.h>

namespace Lab {

/// A machine of lab/machines: a folder with machine.json and, as needed, registry.reg and the trees
/// drive_c and so on. With a member "base" it's a merge patch (RFC 7396) over the machine of that
/// name beside it; trees and registry are laid over those of the base.
class DescribedMachine {
 public:
  /// Reads and checks the machine and all its bases.
  /// \param folder  The machine's folder, or the machine.json in it.
  /// \throw MachineError
  explicit DescribedMachine(const std::filesystem::path& folder);

  /// \return The whole description, with nothing left to a base.
  const Json::Value& Document() const { return document_; }

  /// Makes an instance of the machine.
  /// \param instance  A folder that doesn't exist yet or is empty.
  /// \throw MachineError, std::filesystem::filesystem_error
  void Start(const std::filesystem::path& instance) const;

 private:
  Json::Value document_;
  std::vector<std::filesystem::path> layers_;  ///< Folders, the lowest base first.
};

/// \return The folder of the machine \p name among those that come with the lab.
std::filesystem::path MachineFolder(const std::string& name);

/// \return Names of the machines that come with the lab, sorted.
std::vector<std::string> MachineNames();

/// Writes a document as machine.json of an instance.
/// \throw std::filesystem::filesystem_error
void WriteDescription(const Json::Value& document, const std::filesystem::path& instance);

}  // namespace Lab
