#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "krova/data/comparators.h"

namespace Krova::Data {
namespace {

// The first operand is visited, the second waits in the entry: both have the same kind by then.
class ValueToEntriesVisitor final : public ValueVisitor {
 public:
  explicit ValueToEntriesVisitor(MessageList& errors) : errors_(errors) {}

  bool Run(const DataValue* first, const DataValue* second) {
    entries_.push_back({first, second});
    while (equal_ && !entries_.empty()) {
      const Entry entry = entries_.back();
      entries_.pop_back();
      second_ = entry.second;
      if (TypeOf(entry.first) != TypeOf(second_)) {
        Fail(MakeMessage("krova.data.type.mismatch", TypeWord(TypeOf(entry.first)),
                         TypeWord(TypeOf(second_))));
      } else if (entry.first != nullptr) {
        entry.first->Accept(*this);
      }
    }
    return equal_;
  }

  void Visit(const std::shared_ptr<const VoidValue>&) override {}
  void Visit(const std::shared_ptr<const IntegerValue>& first) override {
    CompareScalars(*first, [](const IntegerValue& value) { return value.GetValue(); });
  }
  void Visit(const std::shared_ptr<const DoubleValue>& first) override {
    CompareScalars(*first, [](const DoubleValue& value) {
      return std::bit_cast<std::uint64_t>(value.GetValue());
    });
  }
  void Visit(const std::shared_ptr<const BooleanValue>& first) override {
    CompareScalars(*first, [](const BooleanValue& value) { return value.GetValue(); });
  }
  void Visit(const std::shared_ptr<const BlobValue>& first) override { CompareTexts(*first); }
  void Visit(const std::shared_ptr<const StringValue>& first) override { CompareTexts(*first); }
  void Visit(const std::shared_ptr<const SecretValue>& first) override { CompareTexts(*first); }
  void Visit(const std::shared_ptr<const ErrorValue>& first) override {
    CompareFields(*first, Second<ErrorValue>(), *first);
  }
  void Visit(const std::shared_ptr<const OptionalValue>& first) override {
    const OptionalValue& second = Second<OptionalValue>();
    if (first->HasValue() != second.HasValue()) {
      // No table knows this id, so that its text is the one for unknown messages; clients expect
      // this very id.
      FailValues("krova.data.value.comparator.values.not.equal", *first);
    } else if (first->HasValue()) {
      entries_.push_back({first->GetValue().get(), second.GetValue().get()});
    }
  }
  void Visit(const std::shared_ptr<const ListValue>& first) override {
    const ListValue& second = Second<ListValue>();
    if (first->size() != second.size()) {
      Fail(MakeMessage("krova.data.value.comp.values.not.eq.sizes", std::to_string(first->size()),
                       std::to_string(second.size())));
      return;
    }
    for (std::size_t place = first->size(); place-- > 0;) {
      entries_.push_back({(*first)[place].get(), second[place].get()});
    }
  }
  void Visit(const std::shared_ptr<const StructValue>& first) override {
    CompareFields(*first, Second<StructValue>(), *first);
  }

 private:
  struct Entry {
    const DataValue* first;
    const DataValue* second;
  };

  template <typename Kind>
  const Kind& Second() const {
    return *ValueCast<Kind>(second_);
  }

  template <typename Kind, typename Content>
  void CompareScalars(const Kind& first, Content content) {
    if (content(first) != content(Second<Kind>())) {
      FailValues("krova.data.comparator.values.not.equal", first);
    }
  }

  template <typename Kind>
  void CompareTexts(const Kind& first) {
    CompareScalars(
        first, [](const Kind& value) -> const auto& { return value.GetValue(); });
  }

  void CompareFields(const NamedFields& first, const NamedFields& second, const DataValue& whole) {
    if (first.GetName() != second.GetName()) {
      Fail(MakeMessage("krova.data.value.comp.struct.names.not.eq", first.GetName(),
                       second.GetName()));
      return;
    }
    const std::size_t before = entries_.size();
    for (const auto& [name, value] : first) {
      const ValuePointer* other = second.FindField(name);
      if (other == nullptr) {
        FailField(name, whole);
        return;
      }
      entries_.push_back({value.get(), other->get()});
    }
    if (first.size() != second.size()) {
      FailField(FirstMissing(second, first), whole);
      return;
    }
    // The first field comes off the stack first.
    std::reverse(entries_.begin() + static_cast<std::ptrdiff_t>(before), entries_.end());
  }

  static const std::string& FirstMissing(const NamedFields& fields, const NamedFields& other) {
    auto field = fields.begin();
    while (other.HasField(field->first)) ++field;
    return field->first;
  }

  void FailField(const std::string& name, const DataValue& first) {
    Fail(MakeMessage("krova.data.value.comp.struct.missing.field", name, first.ToString(),
                     second_->ToString()));
  }

  void FailValues(const char* id, const DataValue& first) {
    Fail(MakeMessage(id, TypeWord(TypeOf(&first)), first.ToString(), second_->ToString()));
  }

  void Fail(BaseMessage message) {
    errors_.push_back(std::move(message));
    equal_ = false;
  }

  MessageList& errors_;
  bool equal_ = true;
  const DataValue* second_ = nullptr;
  std::vector<Entry> entries_;
};

}  // namespace

bool ValueComparatorHelper::Compare(const ValuePointer& first, const ValuePointer& second,
                                    MessageList& errors) {
  return ValueToEntriesVisitor(errors).Run(first.get(), second.get());
}

}  // namespace Krova::Data
