#include "krova/data/value_printer.h"

#include <charconv>
#include <cstddef>
#include <variant>
#include <vector>

#include "krova/data/value.h"

namespace Krova::Data {
namespace {

// An open compound keeps its place in a frame: what is open is bounded by the depth of the tree,
// and how wide it is doesn't matter.
struct OptionalFrame {
  const OptionalValue* value;
  bool begun = false;
};
struct ListFrame {
  const ListValue* value;
  std::size_t next = 0;
};
struct StructFrame {
  const StructValue* value;
  NamedFields::const_iterator next;
};
struct ErrorFrame {
  const ListValue* messages;
  std::size_t next = 0;
};
using Frame = std::variant<OptionalFrame, ListFrame, StructFrame, ErrorFrame>;

class Printer final : public ValueVisitor {
 public:
  std::string Print(const DataValue& value) {
    value.Accept(*this);
    while (!frames_.empty()) {
      // A step may add a frame, and so may move the one that it came from: it is done with it then.
      const ValuePointer child =
          std::visit([this](auto& frame) { return Step(frame); }, frames_.back());
      if (child != nullptr) child->Accept(*this);
    }
    return std::move(text_);
  }

  void Visit(const std::shared_ptr<const VoidValue>&) override { text_ += "NULL"; }
  void Visit(const std::shared_ptr<const IntegerValue>& value) override {
    AppendNumber(value->GetValue());
  }
  void Visit(const std::shared_ptr<const DoubleValue>& value) override {
    // What a stream does by default.
    AppendNumber(value->GetValue(), std::chars_format::general, 6);
  }
  void Visit(const std::shared_ptr<const BooleanValue>& value) override {
    text_ += value->GetValue() ? '1' : '0';
  }
  void Visit(const std::shared_ptr<const BlobValue>& value) override {
    text_.append(value->GetValue().begin(), value->GetValue().end());
  }
  void Visit(const std::shared_ptr<const StringValue>& value) override {
    text_ += value->GetValue();
  }
  void Visit(const std::shared_ptr<const SecretValue>&) override { text_ += "<secret>"; }
  void Visit(const std::shared_ptr<const ErrorValue>& value) override {
    text_.append("Error:\n   ").append(value->GetName()) += '\n';
    const ValuePointer* field = value->FindField("messages");
    const ListValue* messages = field == nullptr ? nullptr : ValueCast<ListValue>(field->get());
    if (messages == nullptr || messages->empty()) {
      text_ += "No messages!\n";
      return;
    }
    text_ += "Messages:\n";
    frames_.push_back(ErrorFrame{messages});
  }
  void Visit(const std::shared_ptr<const OptionalValue>& value) override {
    text_ += "Optional< ";
    frames_.push_back(OptionalFrame{value.get()});
  }
  void Visit(const std::shared_ptr<const ListValue>& value) override {
    text_ += "[ ";
    frames_.push_back(ListFrame{value.get()});
  }
  void Visit(const std::shared_ptr<const StructValue>& value) override {
    text_.append("{{ ").append(value->GetName()) += " : { ";
    frames_.push_back(StructFrame{value.get(), value->begin()});
  }

 private:
  template <typename... Args>
  void AppendNumber(Args... args) {
    char buffer[64];
    const std::to_chars_result end = std::to_chars(buffer, buffer + sizeof(buffer), args...);
    text_.append(buffer, end.ptr);
  }

  // A step prints on to the frame's next child, which it returns, or to its end, which takes the
  // frame away. An unset child comes as null: the next step prints what is behind it.
  ValuePointer Step(OptionalFrame& frame) {
    if (!frame.begun && frame.value->HasValue()) {
      frame.begun = true;
      return frame.value->GetValue();
    }
    return End(">");
  }
  ValuePointer Step(ListFrame& frame) {
    if (frame.next > 0) text_ += ", ";
    if (frame.next == frame.value->size()) return End("] ");
    return (*frame.value)[frame.next++];
  }
  ValuePointer Step(StructFrame& frame) {
    if (frame.next != frame.value->begin()) text_ += ", ";
    if (frame.next == frame.value->end()) return End("} }} ");
    const auto field = frame.next++;
    text_.append(field->first) += " : ";
    return field->second;
  }
  ValuePointer Step(ErrorFrame& frame) {
    if (frame.next > 0) text_ += '\n';
    if (frame.next == frame.messages->size()) return End("");
    text_ += "   ";
    return PrintMessage((*frame.messages)[frame.next++]);
  }

  ValuePointer End(const char* closing) {
    text_ += closing;
    frames_.pop_back();
    return nullptr;
  }

  // Prints what a line says of a message. \return What is still to be printed in that line, or
  // null.
  ValuePointer PrintMessage(const ValuePointer& message) {
    const StructValue* structure = ValueCast<StructValue>(message.get());
    if (structure == nullptr) {
      text_ += "Not a message -> ";
      return message;
    }
    const ValuePointer* id = structure->FindField("id");
    if (id == nullptr) {
      text_.append("Id not found for -> ") += structure->GetName();
      return nullptr;
    }
    if (TypeOf(*id) != DataType::kString) text_ += "Id not valid -> ";
    return *id;
  }

  std::string text_;
  std::vector<Frame> frames_;
};

}  // namespace

std::string PrintValue(const DataValue& value) { return Printer().Print(value); }

}  // namespace Krova::Data
