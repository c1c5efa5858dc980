// Values from JSON text and back, without a request around them. For tests and fuzz targets.
#pragma once

#include <sstream>
#include <string>
#include <string_view>

#include "krova/data/message_value.h"
#include "krova/data/value.h"
#include "krova/protocol/json/frame_stack.h"
#include "krova/protocol/json/text_copy.h"
#include "krova/protocol/json/token_reader.h"
#include "krova/protocol/json/value_frames.h"
#include "krova/protocol/json/value_to_json_adapter.h"

namespace Krova::Testing {

struct ReadOutcome {
  bool isJson = false;
  Data::ValuePointer value;
  MessageList faults;
};

inline ReadOutcome ReadValue(std::string_view text) {
  Protocol::Json::TextCopy copy(text);
  Protocol::Json::FrameStack frames({&Protocol::Json::kValueFrame, {}});
  ReadOutcome outcome;
  outcome.isJson = Protocol::Json::ReadTokens(copy, frames);
  for (const Data::ValuePointer& fault : frames.Faults()) {
    MessageList errors;
    Data::MessageFromValue(fault, outcome.faults.emplace_back(), errors);
  }
  if (outcome.isJson && outcome.faults.empty()) outcome.value = frames.Values().Take();
  return outcome;
}

inline std::string WriteValue(const Data::ValuePointer& value) {
  std::stringbuf sink;
  {
    Protocol::Json::JsonWriter writer(sink);
    Protocol::Json::ValueToJsonAdapter<Protocol::Json::Secure>(writer).Write(value);
  }
  return sink.str();
}

}  // namespace Krova::Testing
