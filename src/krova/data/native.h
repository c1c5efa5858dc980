// Between data values and the native types of services.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "krova/data/date_time.h"
#include "krova/data/value.h"

namespace Krova::Data {

/// The native type of no value.
struct Void {
  bool operator==(const Void&) const = default;
};

/// A text that isn't mistaken for an ordinary string.
class SecretString {
 public:
  SecretString() = default;
  explicit SecretString(std::string text) : text_(std::move(text)) {}
  const std::string& GetText() const { return text_; }
  bool operator==(const SecretString&) const = default;

 private:
  std::string text_;
};

/// Also takes text where a number, a flag, bytes or a secret are wanted.
struct Loose {};
/// Takes the exact kind only.
struct Strict {};

struct DataValueHelper {
  /// Converts a value. Targets are Void, std::int64_t, double, bool, std::vector<std::uint8_t>
  /// (from text: base64), std::string, SecretString and DateTime (always from text).
  /// \param value  A null one is a bad cast too.
  /// \param errors  Gets one message of a failure.
  /// \return False on failure; then \p target is as it was.
  template <typename Mode, typename Target>
  static bool ToNative(const DataValue* value, Target& target, MessageList& errors);
  template <typename Mode, typename Target>
  static bool ToNative(const ValuePointer& value, Target& target, MessageList& errors) {
    return ToNative<Mode>(value.get(), target, errors);
  }

  // The way back.
  static ValuePointer ToValue(Void native);
  static ValuePointer ToValue(std::int64_t native);
  static ValuePointer ToValue(double native);
  static ValuePointer ToValue(bool native);
  static ValuePointer ToValue(std::vector<std::uint8_t> native);
  static ValuePointer ToValue(std::string native);
  static ValuePointer ToValue(SecretString native);
  static ValuePointer ToValue(const DateTime& native);
};

/// A kind travels as its word for type names.
std::shared_ptr<const StringValue> DataTypeToValue(DataType type);
/// \param type  Receives `kUnknown` for an unknown word, which is no failure.
bool DataTypeFromValue(const ValuePointer& value, DataType& type, MessageList& errors);

}  // namespace Krova::Data
