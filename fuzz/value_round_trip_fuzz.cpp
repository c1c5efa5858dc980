// Values come back as they went out: those that are read from the bytes as text, and a tree that is
// built by taking the bytes as instructions.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "krova/protocol/value_text.h"
#include "require.h"

namespace {

using namespace Krova::Data;

/// Builds a tree on a stack: scalars are put on it, compounds take from it what they hold.
class TreeBuilder {
 public:
  explicit TreeBuilder(std::string_view bytes) : bytes_(bytes) {}

  ValuePointer Build() {
    while (!bytes_.empty()) Step();
    return TakeList(stack_.size());
  }

 private:
  void Step() {
    switch (Byte() % 11) {
      case 0:
        return Put(std::make_shared<VoidValue>());
      case 1:
        return Put(std::make_shared<IntegerValue>(std::bit_cast<std::int64_t>(Word())));
      case 2:
        return Put(std::make_shared<DoubleValue>(Finite()));
      case 3:
        return Put(std::make_shared<BooleanValue>(Byte() % 2 == 0));
      case 4:
        return Put(std::make_shared<StringValue>(Text()));
      case 5:
        return Put(std::make_shared<SecretValue>(Text()));
      case 6:
        return Put(std::make_shared<BlobValue>(Blob()));
      case 7:
        return Put(TakeOptional());
      case 8:
        return Put(TakeList(Byte()));
      case 9:
        return Put(TakeFields<StructValue>(Byte()));
      default:
        return Put(TakeFields<ErrorValue>(Byte()));
    }
  }

  std::uint8_t Byte() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<std::uint8_t>(bytes_.front());
    bytes_.remove_prefix(1);
    return byte;
  }

  std::uint64_t Word() {
    std::uint64_t word = 0;
    for (int i = 0; i < 8; ++i) word = word << 8 | Byte();
    return word;
  }

  double Finite() {
    const double value = std::bit_cast<double>(Word());
    return std::isfinite(value) ? value : 0.5;
  }

  std::string Text() {
    const std::string text(bytes_.substr(0, Byte()));
    bytes_.remove_prefix(std::min(bytes_.size(), text.size()));
    return text;
  }

  std::vector<std::uint8_t> Blob() {
    const std::string text = Text();
    return {text.begin(), text.end()};
  }

  void Put(ValuePointer value) { stack_.push_back(std::move(value)); }

  ValuePointer Take() {
    if (stack_.empty()) return std::make_shared<VoidValue>();
    ValuePointer value = std::move(stack_.back());
    stack_.pop_back();
    return value;
  }

  ValuePointer TakeOptional() {
    ValuePointer child = Take();
    // One of void reads as an unset one.
    if (TypeOf(child) == DataType::kVoid) return std::make_shared<OptionalValue>();
    return std::make_shared<OptionalValue>(std::move(child));
  }

  ValuePointer TakeList(std::size_t count) {
    auto list = std::make_shared<ListValue>();
    for (std::size_t i = std::min(count, stack_.size()); i > 0; --i) list->push_back(Take());
    return list;
  }

  template <typename Kind>
  ValuePointer TakeFields(std::size_t count) {
    FieldList fields;
    const std::string name = Text();
    for (std::size_t i = std::min(count, stack_.size()); i > 0; --i) {
      fields.emplace_back(Text(), Take());
    }
    return std::make_shared<Kind>(name, FieldMap(std::move(fields)));
  }

  std::string_view bytes_;
  std::vector<ValuePointer> stack_;
};

void GoRound(const ValuePointer& value) {
  const std::string text = Krova::Testing::WriteValue(value);
  const Krova::Testing::ReadOutcome outcome = Krova::Testing::ReadValue(text);
  Require(outcome.isJson && outcome.faults.empty());
  Require(Krova::Testing::WriteValue(outcome.value) == text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const Krova::Testing::ReadOutcome outcome = Krova::Testing::ReadValue(bytes);
  if (outcome.isJson && outcome.faults.empty()) GoRound(outcome.value);
  GoRound(TreeBuilder(bytes).Build());
  return 0;
}
