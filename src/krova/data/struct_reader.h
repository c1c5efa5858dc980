// Reads the members of a native structure out of a value.
#pragma once

#include <string>
#include <vector>

#include "krova/data/value.h"

namespace Krova::Data {

/// Told first which fields to read and then to read them, in that order.
class StructReader {
 public:
  /// \param target  Must outlive Read. Empty after a failed Read of it.
  void Add(std::string field, std::string& target);

  /// \param input  A structure. An empty string value says that there is no structure: no field is
  ///     read then, which is no failure.
  /// \param errors  Gets a message for each failure.
  /// \return Whether \p errors stayed as they were.
  bool Read(const ValuePointer& input, MessageList& errors);

 private:
  struct Entry {
    std::string field;
    std::string* target;
  };

  void ReadField(const StructValue& structure, const Entry& entry, MessageList& errors);

  std::vector<Entry> entries_;
};

}  // namespace Krova::Data
