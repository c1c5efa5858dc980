#include "krova/protocol/json/response_serializer.h"

#include <cstdint>

#include "krova/data/message_value.h"
#include "krova/protocol/json/json_writer.h"
#include "krova/protocol/json/protocol_error.h"
#include "krova/standard_errors.h"

namespace Krova::Protocol::Json {
namespace {

/// The object around every response: open as long as it lives.
class Envelope {
 public:
  /// \param id  Null where the id isn't known.
  Envelope(std::streambuf& sink, const std::string* id) : writer_(sink) {
    writer_.StartObject();
    writer_.Key("jsonrpc");
    writer_.String("2.0");
    writer_.Key("id");
    if (id != nullptr) {
      writer_.String(*id);
    } else {
      writer_.Null();
    }
  }
  Envelope(const Envelope&) = delete;
  Envelope& operator=(const Envelope&) = delete;
  ~Envelope() { writer_.EndObject(); }

  JsonWriter& Writer() { return writer_; }

 private:
  JsonWriter writer_;
};

/// Only the low half of each number reaches the client, signed.
void WriteProgressNumber(JsonWriter& writer, const char* name, std::int64_t number) {
  writer.Key(name);
  writer.Integer(static_cast<std::int32_t>(number));
}

/// \return Null after appending to \p errors if \p error lacks the field or it is of another kind.
template <typename Kind>
std::shared_ptr<const Kind> RequiredField(const Data::ErrorValue& error, const char* name,
                                          MessageList& errors) {
  Data::ValuePointer field;
  if (!error.GetField(name, field, errors)) return nullptr;
  auto value = Data::ValueCast<Kind>(field);
  if (value == nullptr) errors.push_back(MakeMessage("krova.data.invalid.type"));
  return value;
}

std::shared_ptr<const Data::StringValue> RequestIdOf(const Data::ErrorValue& error) {
  const Data::ValuePointer* field = error.FindField(kRequestIdField);
  return field == nullptr ? nullptr : Data::ValueCast<Data::StringValue>(*field);
}

}  // namespace

template <typename Policy>
bool JsonApiResponseSerializer<Policy>::SerializeResult(
    const std::string& id, const std::shared_ptr<Core::MethodResult>& result, std::streambuf& sink,
    std::shared_ptr<const Data::ErrorValue>&) {
  const bool hasOutput = result->output != nullptr && result->error == nullptr;
  Envelope envelope(sink, &id);
  JsonWriter& writer = envelope.Writer();
  writer.Key("result");
  writer.StartObject();
  writer.Key(hasOutput ? "output" : "error");
  ValueToJsonAdapter<Policy>(writer).Write(hasOutput ? result->output : result->error);
  writer.EndObject();
  return true;
}

template <typename Policy>
bool JsonApiResponseSerializer<Policy>::SerializeProgress(
    const std::string& id, const Progress& progress, std::streambuf& sink,
    std::shared_ptr<const Data::ErrorValue>&) {
  Envelope envelope(sink, &id);
  JsonWriter& writer = envelope.Writer();
  // Not as a structure of values, whose fields would go by their names.
  for (const char* key :
       {"result", "progress", Data::WireWord(Data::DataType::kStruct), kProgressStruct}) {
    writer.Key(key);
    writer.StartObject();
  }
  WriteProgressNumber(writer, "min", progress.min);
  WriteProgressNumber(writer, "max", progress.max);
  WriteProgressNumber(writer, "current", progress.current);
  for (int level = 0; level < 4; ++level) writer.EndObject();
  return true;
}

template <typename Policy>
bool JsonApiResponseSerializer<Policy>::SerializeError(
    const std::shared_ptr<const Data::ErrorValue>& errorValue, std::streambuf& sink,
    std::shared_ptr<const Data::ErrorValue>& error) {
  MessageList faults;
  const auto code = RequiredField<Data::IntegerValue>(*errorValue, kCodeField, faults);
  const auto message = RequiredField<Data::StringValue>(*errorValue, kMessageField, faults);
  if (!faults.empty()) {
    error = Data::MakeErrorValue(kInternalServerError, faults);
    return true;
  }
  const auto id = RequestIdOf(*errorValue);
  Envelope envelope(sink, id == nullptr ? nullptr : &id->GetValue());
  JsonWriter& writer = envelope.Writer();
  writer.Key("error");
  writer.StartObject();
  writer.Key(kCodeField);
  writer.Integer(code->GetValue());
  writer.Key(kMessageField);
  writer.String(message->GetValue());
  writer.EndObject();
  return true;
}

template class JsonApiResponseSerializer<Secure>;

}  // namespace Krova::Protocol::Json
