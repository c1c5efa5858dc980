// Writes definitions as a flat text that is unlike for unlike definitions.
#pragma once

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "krova/data/definition.h"

namespace Krova::Provider {

/// Each definition is written as its key, if it has one, and its kind's ordinal, followed by its
/// name and its children in brackets. Names come with their length, so that no two trees give one
/// text. Doesn't recurse, and ends at references to structures.
class RawDefinitionAdapter {
 public:
  /// A definition and the name under which its parent knows it. Null is a definition as well.
  struct SrcType {
    std::optional<std::string> name;
    Data::DefinitionPointer definition;
  };

  explicit RawDefinitionAdapter(std::ostream& stream) : stream_(stream) {}

  void Write(const SrcType& source);

 private:
  // What is still to be written.
  struct BasicAdaptEntry {
    std::optional<std::string> key;
    Data::DefinitionPointer source;
    void (RawDefinitionAdapter::*write)(const BasicAdaptEntry&);
  };
  class DefinitionToEntriesVisitor;

  void Push(std::optional<std::string> key, Data::DefinitionPointer source);
  void PushClosing();
  void WriteEntry(const BasicAdaptEntry& entry);
  void WriteClosing(const BasicAdaptEntry& entry);
  void WriteText(const std::string& text);

  std::ostream& stream_;
  std::vector<BasicAdaptEntry> entries_;
};

}  // namespace Krova::Provider
