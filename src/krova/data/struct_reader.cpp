#include "krova/data/struct_reader.h"

#include <utility>

#include "krova/data/native.h"

namespace Krova::Data {

void StructReader::Add(std::string field, std::string& target) {
  entries_.push_back({std::move(field), &target});
}

bool StructReader::Read(const ValuePointer& input, MessageList& errors) {
  const std::size_t before = errors.size();
  if (TypeOf(input) == DataType::kString) {
    const std::string& text = static_cast<const StringValue&>(*input).GetValue();
    if (!text.empty()) errors.push_back(MakeMessage("krova.data.bad.cast", text));
    return errors.size() == before;
  }
  const StructValue* structure = ValueCast<StructValue>(input.get());
  if (structure == nullptr) {
    errors.push_back(MakeMessage("krova.data.invalid.type"));
    return false;
  }
  for (const Entry& entry : entries_) ReadField(*structure, entry, errors);
  return errors.size() == before;
}

void StructReader::ReadField(const StructValue& structure, const Entry& entry,
                             MessageList& errors) {
  entry.target->clear();
  ValuePointer field;
  if (!structure.GetField(entry.field, field, errors)) return;
  if (field == nullptr) {
    errors.push_back(MakeMessage("krova.data.unset.non.optional.field", entry.field));
  } else if (TypeOf(field) == DataType::kString) {
    (void)DataValueHelper::ToNative<Loose>(field, *entry.target, errors);
  } else {
    (void)DataValueHelper::ToNative<Strict>(field, *entry.target, errors);
  }
}

}  // namespace Krova::Data
