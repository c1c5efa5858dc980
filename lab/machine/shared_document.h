// State of the machine that all programs of an instance share, as a JSON file.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include <json/value.h>

namespace Lab {

/// A file NAME.json of the instance. Readers see it before a change or after it, never in between;
/// changes come one after the other, by a lock on run/NAME.lock. Safe under threads.
class SharedDocument {
 public:
  SharedDocument(const std::filesystem::path& instance, const std::string& name);

  const std::filesystem::path& File() const { return file_; }

  /// \return What the file holds; null without one.
  /// \throw MachineError when it is no JSON document.
  Json::Value Read() const;

  /// Lets \p change edit what Read gives, and writes what it leaves. When it throws nothing
  /// changes.
  void Change(const std::function<void(Json::Value&)>& change);

 private:
  const std::filesystem::path file_;
  const std::filesystem::path lock_;
};

}  // namespace Lab
