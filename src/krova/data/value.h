// Data values: the trees that cross the API as inputs, outputs, errors and messages.
//
// Values are made with std::make_shared, never on the stack: Accept hands out a shared pointer to
// the object. They are built by one thread and immutable once shared; then any number of threads
// may read them. A sub-tree may have several parents. A child pointer may be null ("unset"), which
// is a tree that no definition accepts, but printing, comparing and destroying handle it.
//
// No operation recurses, so the depth of a tree is limited by memory and not by the stack.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>
#include <vector>

#include "krova/data/data_type.h"
#include "krova/data/field_map.h"
#include "krova/data/value_printer.h"
#include "krova/messages.h"

namespace Krova::Data {

class DataValue;
class VoidValue;
class IntegerValue;
class DoubleValue;
class BooleanValue;
class BlobValue;
class StringValue;
class SecretValue;
class ErrorValue;
class OptionalValue;
class ListValue;
class StructValue;

using ValuePointer = std::shared_ptr<const DataValue>;
using ValueList = std::vector<ValuePointer>;

/// Told which kind a value is. Children aren't visited: walking on is the visitor's own business.
class ValueVisitor {
 public:
  virtual void Visit(const std::shared_ptr<const VoidValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const IntegerValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const DoubleValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const BooleanValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const BlobValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const StringValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const SecretValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const ErrorValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const OptionalValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const ListValue>& value) = 0;
  virtual void Visit(const std::shared_ptr<const StructValue>& value) = 0;
  virtual ~ValueVisitor() = default;
};

/// Root of the kinds of values.
class DataValue {
 public:
  DataValue(const DataValue&) = delete;
  DataValue& operator=(const DataValue&) = delete;

  virtual void GetType(DataType& type) const = 0;
  virtual void Accept(ValueVisitor& visitor) = 0;
  virtual void Accept(ValueVisitor& visitor) const = 0;
  /// The printed form, for logs and messages. Hides secrets, in whatever they are nested.
  virtual std::string ToString() const = 0;
  virtual ~DataValue() = default;

 protected:
  DataValue() = default;
};

/// The kind of \p value, `kUnknown` for a null one.
DataType TypeOf(const DataValue* value);
inline DataType TypeOf(const ValuePointer& value) { return TypeOf(value.get()); }

/// Whether \p value is of a kind without children.
bool IsLeaf(const DataValue& value);

/// Down-cast: null if \p value is null or of another kind.
template <typename Kind>
const Kind* ValueCast(const DataValue* value) {
  return value != nullptr && typeid(*value) == typeid(Kind) ? static_cast<const Kind*>(value)
                                                            : nullptr;
}
template <typename Kind>
std::shared_ptr<const Kind> ValueCast(const ValuePointer& value) {
  return ValueCast<Kind>(value.get()) != nullptr ? std::static_pointer_cast<const Kind>(value)
                                                 : nullptr;
}

/// What all kinds have in common.
template <typename Kind, DataType kType>
class ValueKind : public DataValue, public std::enable_shared_from_this<Kind> {
 public:
  void GetType(DataType& type) const final { type = kType; }
  void Accept(ValueVisitor& visitor) final { std::as_const(*this).Accept(visitor); }
  void Accept(ValueVisitor& visitor) const final { visitor.Visit(this->shared_from_this()); }
  std::string ToString() const final { return PrintValue(*this); }
};

class VoidValue final : public ValueKind<VoidValue, DataType::kVoid> {};

class IntegerValue final : public ValueKind<IntegerValue, DataType::kInteger> {
 public:
  explicit IntegerValue(std::int64_t value) : value_(value) {}
  std::int64_t GetValue() const { return value_; }

 private:
  const std::int64_t value_;
};

class DoubleValue final : public ValueKind<DoubleValue, DataType::kDouble> {
 public:
  explicit DoubleValue(double value) : value_(value) {}
  double GetValue() const { return value_; }

 private:
  const double value_;
};

class BooleanValue final : public ValueKind<BooleanValue, DataType::kBoolean> {
 public:
  explicit BooleanValue(bool value) : value_(value) {}
  bool GetValue() const { return value_; }

 private:
  const bool value_;
};

class BlobValue final : public ValueKind<BlobValue, DataType::kBlob> {
 public:
  explicit BlobValue(std::vector<std::uint8_t> value) : value_(std::move(value)) {}
  const std::vector<std::uint8_t>& GetValue() const { return value_; }

 private:
  const std::vector<std::uint8_t> value_;
};

/// A byte string, UTF-8 by convention.
class StringValue final : public ValueKind<StringValue, DataType::kString> {
 public:
  explicit StringValue(std::string value) : value_(std::move(value)) {}
  const std::string& GetValue() const { return value_; }

 private:
  const std::string value_;
};

/// A secret in clear, which only the printed form hides.
class SecretValue final : public ValueKind<SecretValue, DataType::kSecret> {
 public:
  explicit SecretValue(std::string value) : value_(std::move(value)) {}
  const std::string& GetValue() const { return value_; }

 private:
  const std::string value_;
};

class OptionalValue final : public ValueKind<OptionalValue, DataType::kOptional> {
 public:
  OptionalValue() = default;
  explicit OptionalValue(ValuePointer child) : hasValue_(true), child_(std::move(child)) {}
  ~OptionalValue() override;

  bool HasValue() const { return hasValue_; }
  /// Null without a child.
  const ValuePointer& GetValue() const { return child_; }

 private:
  const bool hasValue_ = false;
  ValuePointer child_;
};

class ListValue final : public ValueKind<ListValue, DataType::kList>, public ValueList {
 public:
  ListValue() = default;
  explicit ListValue(ValueList elements) : ValueList(std::move(elements)) {}
  ~ListValue() override;
};

/// The fields of a structure or an error, under a name.
class NamedFields {
 public:
  using const_iterator = FieldMap::const_iterator;

  const std::string& GetName() const { return name_; }
  bool HasField(std::string_view name) const { return FindField(name) != nullptr; }
  /// Inserts or replaces.
  void SetField(std::string_view name, ValuePointer value);
  /// \return The field's value, which may be unset; null if there is no such field. Belongs to this
  ///     object.
  const ValuePointer* FindField(std::string_view name) const;

  std::size_t size() const { return fields_.size(); }
  bool empty() const { return fields_.empty(); }
  /// Iteration in byte-wise order of the names.
  const_iterator begin() const { return fields_.begin(); }
  const_iterator end() const { return fields_.end(); }

 protected:
  NamedFields(std::string name, FieldMap fields)
      : name_(std::move(name)), fields_(std::move(fields)) {}
  ~NamedFields();

 private:
  const std::string name_;
  FieldMap fields_;
};

class StructValue final : public ValueKind<StructValue, DataType::kStruct>, public NamedFields {
 public:
  explicit StructValue(std::string name, FieldMap fields = {})
      : NamedFields(std::move(name), std::move(fields)) {}

  /// On an unknown name leaves \p out alone, appends one message and returns false.
  bool GetField(std::string_view name, ValuePointer& out, MessageList& errors) const;
};

/// A structure by another kind. By convention the field `messages` is a list of message structures,
/// and a protocol error may have a string field `request_id`, the id of the failed request.
class ErrorValue final : public ValueKind<ErrorValue, DataType::kError>, public NamedFields {
 public:
  explicit ErrorValue(std::string name, FieldMap fields = {})
      : NamedFields(std::move(name), std::move(fields)) {}
  /// Stores \p messages in the field `messages`.
  ErrorValue(std::string name, std::shared_ptr<const ListValue> messages);

  /// On an unknown name leaves \p out alone, appends one message and returns false.
  bool GetField(std::string_view name, ValuePointer& out, MessageList& errors) const;
};

}  // namespace Krova::Data
