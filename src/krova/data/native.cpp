#include "krova/data/native.h"

#include <type_traits>

#include <boost/lexical_cast/try_lexical_convert.hpp>

#include "krova/protocol/json/base64.h"

namespace Krova::Data {
namespace {

using Blob = std::vector<std::uint8_t>;

constexpr const char* NameOf(const Void*) { return "Void"; }
constexpr const char* NameOf(const std::int64_t*) { return "Long"; }
constexpr const char* NameOf(const double*) { return "Double"; }
constexpr const char* NameOf(const bool*) { return "Boolean"; }
constexpr const char* NameOf(const Blob*) { return "Blob"; }
constexpr const char* NameOf(const std::string*) { return "String"; }
constexpr const char* NameOf(const SecretString*) { return "SecretString"; }
constexpr const char* NameOf(const DateTime*) { return "DateTime"; }

template <typename Native>
constexpr const char* kNameOf = NameOf(static_cast<const Native*>(nullptr));

void AddBadCast(MessageList& errors, const char* from, const char* to) {
  errors.push_back(MakeMessage("krova.data.bad.cast", from, to));
}

// Each of these reads a text. On failure `fault` is what the message tells as its third argument.
// Blobs have more to tell than the text that failed.
template <typename Number>
bool Parse(const std::string& text, Number& target, std::string& fault) {
  Number parsed{};
  if (!boost::conversion::try_lexical_convert(text, parsed)) {
    fault = text;
    return false;
  }
  target = parsed;
  return true;
}

bool Parse(const std::string& text, bool& target, std::string& fault) {
  if (text == "true" || text == "false") {
    target = text == "true";
    return true;
  }
  return Parse<bool>(text, target, fault);
}

bool Parse(const std::string& text, Blob& target, std::string& fault) {
  Blob bytes;
  if (!Protocol::Json::DecodeBase64(text, bytes, fault)) return false;
  target = std::move(bytes);
  return true;
}

bool Parse(const std::string& text, SecretString& target, std::string&) {
  target = SecretString(text);
  return true;
}

bool Parse(const std::string& text, DateTime& target, std::string& fault) {
  if (DateTime::FromText(text, target)) return true;
  fault = text;
  return false;
}

bool Parse(const std::string& text, std::string& target, std::string&) {
  target = text;
  return true;
}

// Texts and points in time come as strings by nature; nothing is made of a text that is no value.
template <typename Mode, typename Target>
constexpr bool kTakesText = std::is_same_v<Target, std::string> ||
                            std::is_same_v<Target, DateTime> ||
                            (std::is_same_v<Mode, Loose> && !std::is_same_v<Target, Void>);

template <typename Mode, typename Target>
class ValueToNativeVisitor final : public ValueVisitor {
 public:
  ValueToNativeVisitor(Target& target, MessageList& errors) : target_(target), errors_(errors) {}

  bool Succeeded() const { return succeeded_; }

  void Visit(const std::shared_ptr<const VoidValue>&) override { Take<Void>(Void()); }
  void Visit(const std::shared_ptr<const IntegerValue>& value) override {
    Take<std::int64_t>(value->GetValue());
  }
  void Visit(const std::shared_ptr<const DoubleValue>& value) override {
    Take<double>(value->GetValue());
  }
  void Visit(const std::shared_ptr<const BooleanValue>& value) override {
    Take<bool>(value->GetValue());
  }
  void Visit(const std::shared_ptr<const BlobValue>& value) override {
    Take<Blob>(value->GetValue());
  }
  void Visit(const std::shared_ptr<const StringValue>& value) override {
    if constexpr (kTakesText<Mode, Target>) {
      TakeText(value->GetValue());
    } else {
      AddBadCast(errors_, kNameOf<std::string>, kNameOf<Target>);
    }
  }
  void Visit(const std::shared_ptr<const SecretValue>& value) override {
    if constexpr (std::is_same_v<Target, SecretString>) {
      Take<SecretString>(SecretString(value->GetValue()));
    } else {
      AddBadCast(errors_, kNameOf<SecretString>, kNameOf<Target>);
    }
  }
  void Visit(const std::shared_ptr<const ErrorValue>&) override {
    RefuseCompound(DataType::kError);
  }
  void Visit(const std::shared_ptr<const OptionalValue>&) override {
    RefuseCompound(DataType::kOptional);
  }
  void Visit(const std::shared_ptr<const ListValue>&) override { RefuseCompound(DataType::kList); }
  void Visit(const std::shared_ptr<const StructValue>&) override {
    RefuseCompound(DataType::kStruct);
  }

 private:
  template <typename Native>
  void Take(const Native& native) {
    if constexpr (std::is_same_v<Native, Target>) {
      target_ = native;
      succeeded_ = true;
    } else {
      AddBadCast(errors_, kNameOf<Native>, kNameOf<Target>);
    }
  }

  void TakeText(const std::string& text) {
    std::string fault;
    succeeded_ = Parse(text, target_, fault);
    if (succeeded_) return;
    errors_.push_back(
        MakeMessage("krova.data.bad.cast", kNameOf<std::string>, kNameOf<Target>, fault));
  }

  void RefuseCompound(DataType type) { AddBadCast(errors_, TypeWord(type), kNameOf<Target>); }

  bool succeeded_ = false;
  Target& target_;
  MessageList& errors_;
};

}  // namespace

template <typename Mode, typename Target>
bool DataValueHelper::ToNative(const DataValue* value, Target& target, MessageList& errors) {
  if (value == nullptr) {
    AddBadCast(errors, TypeWord(DataType::kUnknown), kNameOf<Target>);
    return false;
  }
  ValueToNativeVisitor<Mode, Target> visitor(target, errors);
  value->Accept(visitor);
  return visitor.Succeeded();
}

template bool DataValueHelper::ToNative<Loose>(const DataValue*, Void&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, std::int64_t&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, double&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, bool&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, Blob&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, std::string&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, SecretString&, MessageList&);
template bool DataValueHelper::ToNative<Loose>(const DataValue*, DateTime&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, Void&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, std::int64_t&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, double&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, bool&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, Blob&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, std::string&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, SecretString&, MessageList&);
template bool DataValueHelper::ToNative<Strict>(const DataValue*, DateTime&, MessageList&);

ValuePointer DataValueHelper::ToValue(Void) { return std::make_shared<VoidValue>(); }
ValuePointer DataValueHelper::ToValue(std::int64_t native) {
  return std::make_shared<IntegerValue>(native);
}
ValuePointer DataValueHelper::ToValue(double native) {
  return std::make_shared<DoubleValue>(native);
}
ValuePointer DataValueHelper::ToValue(bool native) {
  return std::make_shared<BooleanValue>(native);
}
ValuePointer DataValueHelper::ToValue(Blob native) {
  return std::make_shared<BlobValue>(std::move(native));
}
ValuePointer DataValueHelper::ToValue(std::string native) {
  return std::make_shared<StringValue>(std::move(native));
}
ValuePointer DataValueHelper::ToValue(SecretString native) {
  return std::make_shared<SecretValue>(native.GetText());
}
ValuePointer DataValueHelper::ToValue(const DateTime& native) {
  return std::make_shared<StringValue>(native.GetText());
}

std::shared_ptr<const StringValue> DataTypeToValue(DataType type) {
  return std::make_shared<StringValue>(TypeWord(type));
}

bool DataTypeFromValue(const ValuePointer& value, DataType& type, MessageList& errors) {
  std::string word;
  MessageList faults;
  if (!DataValueHelper::ToNative<Strict>(value, word, faults)) {
    AddBadCast(errors, faults.front().args.front().c_str(), "DataType");
    return false;
  }
  type = DataTypeOfTypeWord(word);
  return true;
}

}  // namespace Krova::Data
