// Properties of the encoding that hold for every tree of values.
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "krova/protocol/json/number_text.h"
#include "krova/protocol/value_text.h"

namespace Krova::Protocol::Json {
namespace {

using Data::ValuePointer;
using std::make_shared;
using Testing::ReadValue;
using Testing::WriteValue;

/// A double of sixteen digits, which is what the wire carries.
rc::Gen<double> WireDouble() {
  return rc::gen::map(rc::gen::arbitrary<double>(), [](double value) {
    char buffer[kNumberSize];
    return ParseDouble(std::string_view(buffer, FormatDouble(value, buffer)));
  });
}

template <typename Kind, typename Native>
rc::Gen<ValuePointer> Scalar(rc::Gen<Native> native) {
  return rc::gen::map(std::move(native),
                      [](const Native& value) -> ValuePointer { return make_shared<Kind>(value); });
}

rc::Gen<ValuePointer> AnyScalar() {
  return rc::gen::oneOf(rc::gen::just(ValuePointer(make_shared<Data::VoidValue>())),
                        Scalar<Data::IntegerValue>(rc::gen::arbitrary<std::int64_t>()),
                        Scalar<Data::DoubleValue>(WireDouble()),
                        Scalar<Data::BooleanValue>(rc::gen::arbitrary<bool>()),
                        Scalar<Data::StringValue>(rc::gen::arbitrary<std::string>()),
                        Scalar<Data::SecretValue>(rc::gen::arbitrary<std::string>()),
                        Scalar<Data::BlobValue>(rc::gen::arbitrary<std::vector<std::uint8_t>>()));
}

/// An optional of void reads as an unset one, so it isn't made.
ValuePointer OptionalOf(const ValuePointer& child) {
  return Data::TypeOf(child) == Data::DataType::kVoid ? make_shared<Data::OptionalValue>()
                                                      : make_shared<Data::OptionalValue>(child);
}

template <typename Kind>
ValuePointer FieldsOf(const std::string& name,
                      const std::vector<std::pair<std::string, ValuePointer>>& fields) {
  auto value = make_shared<Kind>(name);
  for (const auto& [field, child] : fields) value->SetField(field, child);
  return value;
}

rc::Gen<ValuePointer> AnyTree(int levels) {
  if (levels == 0) return AnyScalar();
  // A tree would else grow by the size of a list with each level.
  const auto child = rc::gen::scale(0.3, AnyTree(levels - 1));
  const auto fields = rc::gen::container<std::vector<std::pair<std::string, ValuePointer>>>(
      rc::gen::pair(rc::gen::arbitrary<std::string>(), child));
  const auto name = rc::gen::arbitrary<std::string>();
  return rc::gen::oneOf(AnyScalar(), rc::gen::map(child, &OptionalOf),
                        rc::gen::map(rc::gen::container<std::vector<ValuePointer>>(child),
                                     [](const std::vector<ValuePointer>& elements) -> ValuePointer {
                                       return make_shared<Data::ListValue>(elements);
                                     }),
                        rc::gen::apply(&FieldsOf<Data::StructValue>, name, fields),
                        rc::gen::apply(&FieldsOf<Data::ErrorValue>, name, fields));
}

/// Equal in kind and content. Doubles are compared by their text, as 0.0 and -0.0 differ on the
/// wire.
bool Equal(const ValuePointer& left, const ValuePointer& right);

bool EqualFields(const Data::NamedFields& left, const Data::NamedFields& right) {
  if (left.GetName() != right.GetName() || left.size() != right.size()) return false;
  return std::equal(left.begin(), left.end(), right.begin(), [](const auto& a, const auto& b) {
    return a.first == b.first && Equal(a.second, b.second);
  });
}

template <typename Kind>
bool EqualNative(const ValuePointer& left, const ValuePointer& right) {
  return Data::ValueCast<Kind>(left)->GetValue() == Data::ValueCast<Kind>(right)->GetValue();
}

bool Equal(const ValuePointer& left, const ValuePointer& right) {
  using Data::DataType;
  using Data::ValueCast;
  if (Data::TypeOf(left) != Data::TypeOf(right)) return false;
  switch (Data::TypeOf(left)) {
    case DataType::kInteger:
      return EqualNative<Data::IntegerValue>(left, right);
    case DataType::kDouble:
      return WriteValue(left) == WriteValue(right);
    case DataType::kBoolean:
      return EqualNative<Data::BooleanValue>(left, right);
    case DataType::kString:
      return EqualNative<Data::StringValue>(left, right);
    case DataType::kSecret:
      return EqualNative<Data::SecretValue>(left, right);
    case DataType::kBlob:
      return EqualNative<Data::BlobValue>(left, right);
    case DataType::kOptional: {
      const auto a = ValueCast<Data::OptionalValue>(left);
      const auto b = ValueCast<Data::OptionalValue>(right);
      return a->HasValue() == b->HasValue() && Equal(a->GetValue(), b->GetValue());
    }
    case DataType::kList: {
      const auto a = ValueCast<Data::ListValue>(left);
      const auto b = ValueCast<Data::ListValue>(right);
      return std::equal(a->begin(), a->end(), b->begin(), b->end(), &Equal);
    }
    case DataType::kStruct:
      return EqualFields(*ValueCast<Data::StructValue>(left), *ValueCast<Data::StructValue>(right));
    case DataType::kError:
      return EqualFields(*ValueCast<Data::ErrorValue>(left), *ValueCast<Data::ErrorValue>(right));
    default:
      return true;
  }
}

RC_GTEST_PROP(ValueRoundTrip, EveryTreeComesBackEqual, ()) {
  const ValuePointer tree = *AnyTree(4).as("tree");
  const std::string text = WriteValue(tree);
  const Testing::ReadOutcome outcome = ReadValue(text);
  RC_ASSERT(outcome.isJson);
  RC_ASSERT(outcome.faults.empty());
  RC_ASSERT(Equal(tree, outcome.value));
}

RC_GTEST_PROP(ValueRoundTrip, EqualTreesHaveTheSameText, ()) {
  const ValuePointer tree = *AnyTree(4);
  const std::string text = WriteValue(tree);
  const ValuePointer copy = ReadValue(text).value;
  RC_ASSERT(WriteValue(copy) == text);
}

RC_GTEST_PROP(ValueRoundTrip, TextHasNoWhiteSpaceOrControlBytesOutsideOfStrings, ()) {
  const std::string text = WriteValue(*AnyTree(3));
  bool inString = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    RC_ASSERT(static_cast<unsigned char>(text[i]) >= 0x20);
    if (inString && text[i] == '\\') {
      ++i;
    } else if (text[i] == '"') {
      inString = !inString;
    } else if (!inString) {
      RC_ASSERT(text[i] != ' ');
    }
  }
}

RC_GTEST_PROP(ReadValueOfAnyBytes, EndsWithAValueOrAFault, (const std::string& bytes)) {
  const Testing::ReadOutcome outcome = ReadValue(bytes);
  RC_ASSERT(outcome.isJson || outcome.value == nullptr);
}

RC_GTEST_PROP(ReadValueOfACutText, IsNoJson, ()) {
  const std::string whole = WriteValue(make_shared<Data::ListValue>(Data::ValueList{*AnyTree(3)}));
  const auto length = *rc::gen::inRange<std::size_t>(0, whole.size());
  RC_ASSERT(!ReadValue(std::string_view(whole).substr(0, length)).isJson);
}

}  // namespace
}  // namespace Krova::Protocol::Json
