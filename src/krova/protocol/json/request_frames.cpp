#include "krova/protocol/json/request_frames.h"

#include <utility>

#include "krova/protocol/json/value_frames.h"

namespace Krova::Protocol::Json {
namespace {

using Core::ExecutionContext;
using Texts = ExecutionContext::Texts;
using SecurityEntry = decltype(ExecutionContext::securityContext)::mapped_type;

void RejectField(FrameStack& frames, std::string_view key) {
  frames.Fail(MakeJsonProtocolMessage("krova.protocol.json.invalid.request.field", key));
}

void Close(FrameStack& frames) { frames.Pop(); }

/// An object begins: the frame goes on as the one of its members.
template <const FrameFunctions& kMembers>
void OpenMembers(FrameStack& frames) {
  frames.Become(kMembers);
}

template <const FrameFunctions& kMembers>
constexpr FrameFunctions kObjectOf = {.onStartObject = &OpenMembers<kMembers>};

// One text; the target is the string that takes it.

void OnText(FrameStack& frames, std::string_view text) {
  frames.TargetAs<std::string>() = text;
  frames.Pop();
}

constexpr FrameFunctions kText = {.onString = &OnText};

// Objects whose members are all texts; the target is the map.

void OnTextsKey(FrameStack& frames, std::string_view key) {
  frames.Push(kText, {&frames.TargetAs<Texts>()[std::string(key)]});
}

constexpr FrameFunctions kTexts = {.onString = &OnTextsKey, .onEndObject = &Close};

// The security context; the target is the map, and that of an entry its value.

void OnSecurityText(FrameStack& frames, std::string_view text) {
  frames.TargetAs<SecurityEntry>() = std::string(text);
  frames.Pop();
}

void OnSecurityTexts(FrameStack& frames) {
  frames.Target().object = &frames.TargetAs<SecurityEntry>().emplace<Texts>();
  frames.Become(kTexts);
}

constexpr FrameFunctions kSecurityEntry = {.onString = &OnSecurityText,
                                           .onStartObject = &OnSecurityTexts};

void OnSecurityKey(FrameStack& frames, std::string_view key) {
  auto& entries = frames.TargetAs<decltype(ExecutionContext::securityContext)>();
  frames.Push(kSecurityEntry, {&entries[std::string(key)]});
}

constexpr FrameFunctions kSecurity = {.onString = &OnSecurityKey, .onEndObject = &Close};

// The context.

void OnContextKey(FrameStack& frames, std::string_view key) {
  auto& context = frames.TargetAs<ExecutionContext>();
  switch (FindRequestField(key)) {
    case RequestField::kApplicationContext:
      return frames.Push(kObjectOf<kTexts>, {&context.applicationContext});
    case RequestField::kSecurityContext:
      return frames.Push(kObjectOf<kSecurity>, {&context.securityContext});
    default:
      return RejectField(frames, key);
  }
}

constexpr FrameFunctions kContext = {.onString = &OnContextKey, .onEndObject = &Close};

// The params and the request; the target of both is the record.

/// A finished input waits on the builder until the next token shows that all of it was good.
void TakeInput(FrameStack& frames) {
  if (!frames.Values().HasValue()) return;
  Data::ValuePointer input = frames.Values().Take();
  if (input != nullptr) frames.TargetAs<RequestRecord>().input = std::move(input);
}

void OpenContext(FrameStack& frames) {
  auto& record = frames.TargetAs<RequestRecord>();
  record.context = std::make_shared<ExecutionContext>();
  frames.Push(kObjectOf<kContext>, {record.context.get()});
}

void OnParamsKey(FrameStack& frames, std::string_view key) {
  TakeInput(frames);
  auto& record = frames.TargetAs<RequestRecord>();
  switch (FindRequestField(key)) {
    case RequestField::kServiceId:
      return frames.Push(kText, {&record.serviceId});
    case RequestField::kOperationId:
      return frames.Push(kText, {&record.operationId});
    case RequestField::kInput:
      return frames.Push(kValueFrame);
    case RequestField::kContext:
      return OpenContext(frames);
    default:
      return RejectField(frames, key);
  }
}

void CloseParams(FrameStack& frames) {
  TakeInput(frames);
  frames.Pop();
}

constexpr FrameFunctions kParams = {.onString = &OnParamsKey, .onEndObject = &CloseParams};

void OnRequestKey(FrameStack& frames, std::string_view key) {
  auto& record = frames.TargetAs<RequestRecord>();
  switch (FindRequestField(key)) {
    case RequestField::kJsonRpc:
      return frames.Push(kText, {&record.jsonrpc});
    case RequestField::kId:
      return frames.Push(kText, {&record.id});
    case RequestField::kMethod:
      return frames.Push(kText, {&record.method});
    case RequestField::kParams:
      return frames.Push(kObjectOf<kParams>, {&record});
    default:
      return RejectField(frames, key);
  }
}

constexpr FrameFunctions kRequest = {.onString = &OnRequestKey, .onEndObject = &Close};

}  // namespace

Frame RequestRootFrame(RequestRecord& record) { return {&kObjectOf<kRequest>, {&record}}; }

}  // namespace Krova::Protocol::Json
