// The agents whose certificate a person has confirmed before.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace Hvctl {

/// A text file with one line for each agent: "HOST:PORT THUMBPRINT". Lines of another form are
/// kept and otherwise ignored. Only the owner may read or write it where the system has such
/// rights.
class KnownAgents {
 public:
  explicit KnownAgents(std::filesystem::path file) : file_(std::move(file)) {}

  /// \param agent  "HOST:PORT". \return Nothing when the agent isn't in the file.
  std::optional<std::string> Find(const std::string& agent) const;

  /// Adds the agent or replaces its thumbprint. The file is replaced as a whole, so that a failure
  /// leaves the old one. Throws Failure (kUsage) when it can't be written.
  void Remember(const std::string& agent, const std::string& thumbprint) const;

  /// Takes the agent out. \return False when it wasn't in.
  bool Forget(const std::string& agent) const;

  const std::filesystem::path& File() const { return file_; }

 private:
  std::filesystem::path file_;
};

}  // namespace Hvctl
