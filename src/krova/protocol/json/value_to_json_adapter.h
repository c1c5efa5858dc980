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

/// A compound of which a part is written.
struct BasicAdaptEntry {
  const Data::DataValue* value;
  /// The child that comes next.
  std::size_t next = 0;
};

/// Writes a tree of values as JSON text, without recursion: its own stack holds what is open,
/// with 16 bytes for each level. A value that is unset is written as `{}`, which reads as unset.
template <typename Policy>
class ValueToJsonAdapter {
 public:
  explicit ValueToJsonAdapter(JsonWriter& writer);

  /// \param root  May be null. Must stay as it is meanwhile.
  void Write(const Data::ValuePointer& root);

 private:
  /// Writes a value without children as a whole, and of any other one the opening.
  /// \return Whether it is finished; if it isn't, an entry was pushed for it.
  bool WriteValue(const Data::DataValue* value);
  bool Open(const Data::DataValue& value, Data::DataType type);
  /// Writes children of the compound on top until one of them is opened, or all are written and the
  /// compound is closed.
  void Continue();
  void ContinueList(const Data::ListValue& list);
  void ContinueFields(const Data::NamedFields& fields);
  void ContinueOptional(const Data::OptionalValue& optional);

  JsonWriter& writer_;
  std::vector<BasicAdaptEntry> entries_;
};

extern template class ValueToJsonAdapter<Secure>;

}  // namespace Krova::Protocol::Json
