// Writes data values.
#pragma once

#include <cstddef>
#include <vector>

#include "krova/data/value.h"
#include "krova/protocol/json/json_writer.h"

namespace Krova::Protocol::Json {

/// The policy under which secrets go out in clear, inside their wrapper. What is written with it
/// must travel over an encrypted connection only.
struct Secure {};

/// An open compound of a tree that is being written.
struct BasicAdaptEntry {
  const Data::DataValue* value;
  /// The child that comes next.
  std::size_t next = 0;
};

/// Writes a tree of values as JSON text, without recursion: its own stack holds what is open, with
/// 16 bytes for each level. A value that is unset is written as `{}`, which reads as unset.
template <typename Policy>
class ValueToJsonAdapter {
 public:
  explicit ValueToJsonAdapter(JsonWriter& writer);

  /// \param root  May be null. Must stay as it is meanwhile.
  void Write(const Data::ValuePointer& root);

 private:
  void WriteValue(const Data::DataValue* value);
  void Open(const Data::DataValue& value);
  bool WriteNextChild();
  bool WriteNextElement(const Data::ListValue& list);
  bool WriteNextField(const Data::NamedFields& fields);
  bool WriteOptionalChild(const Data::OptionalValue& optional);

  JsonWriter& writer_;
  std::vector<BasicAdaptEntry> entries_;
};

extern template class ValueToJsonAdapter<Secure>;

}  // namespace Krova::Protocol::Json
