#include "krova/protocol/json/value_frames.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "krova/data/value.h"
#include "krova/protocol/json/base64.h"

// A compound is one frame from its opening to its closing token, which goes from one kind to the
// next as its keys come: the wrapper of a structure, for instance, becomes the object of the name,
// the object of the fields, and then waits for three closing brackets.
namespace Krova::Protocol::Json {
namespace {

/// Where a value stands. The frame of a single value ends with it; that of a list's elements stays.
enum class Place { kSingle, kElement };

template <Place kPlace>
void Done(FrameStack& frames) {
  if constexpr (kPlace == Place::kSingle) frames.Pop();
}

template <Place kPlace, typename Kind, typename... Args>
void AddScalar(FrameStack& frames, Args&&... args) {
  frames.Values().Add(std::make_shared<Kind>(std::forward<Args>(args)...));
  Done<kPlace>(frames);
}

template <Place kPlace>
void OnNull(FrameStack& frames) {
  frames.Values().AddVoid();
  Done<kPlace>(frames);
}

template <Place kPlace>
void OnBool(FrameStack& frames, bool value) {
  frames.Values().AddBoolean(value);
  Done<kPlace>(frames);
}

template <Place kPlace>
void OnLong(FrameStack& frames, std::int64_t value) {
  AddScalar<kPlace, Data::IntegerValue>(frames, value);
}

template <Place kPlace>
void OnDouble(FrameStack& frames, double value) {
  AddScalar<kPlace, Data::DoubleValue>(frames, value);
}

template <Place kPlace>
void OnString(FrameStack& frames, std::string_view text) {
  AddScalar<kPlace, Data::StringValue>(frames, std::string(text));
}

/// A compound takes the place of a single value's frame, and stands above that of elements.
template <Place kPlace>
void Open(FrameStack& frames, const FrameFunctions& functions) {
  if constexpr (kPlace == Place::kSingle) {
    frames.Become(functions);
  } else {
    frames.Push(functions);
  }
}

template <Place kPlace>
void OnStartArray(FrameStack& frames);
template <Place kPlace>
void OnStartObject(FrameStack& frames);

template <Place kPlace>
constexpr FrameFunctions ValueFunctions() {
  return {.onNull = &OnNull<kPlace>,
          .onBool = &OnBool<kPlace>,
          .onLong = &OnLong<kPlace>,
          .onDouble = &OnDouble<kPlace>,
          .onString = &OnString<kPlace>,
          .onStartObject = &OnStartObject<kPlace>,
          .onStartArray = &OnStartArray<kPlace>};
}

// Lists.

void CloseList(FrameStack& frames) {
  frames.Values().CloseList(frames.Target().mark);
  frames.Pop();
}

constexpr FrameFunctions ElementFunctions() {
  FrameFunctions functions = ValueFunctions<Place::kElement>();
  functions.onEndArray = &CloseList;
  return functions;
}

constexpr FrameFunctions kElements = ElementFunctions();

template <Place kPlace>
void OnStartArray(FrameStack& frames) {
  Open<kPlace>(frames, kElements);
  frames.Target().mark = frames.Values().OpenList();
}

// Wrapper objects: all is read, and only the closing bracket may come.

void CloseWrapper(FrameStack& frames) { frames.Pop(); }

constexpr FrameFunctions kWrapperEnd = {.onEndObject = &CloseWrapper};

// Blobs and secrets.

void OnBase64(FrameStack& frames, std::string_view text) {
  std::vector<std::uint8_t> bytes;
  std::string fault;
  if (!DecodeBase64(text, bytes, fault)) {
    frames.Fail(MakeJsonProtocolMessage("krova.protocol.json.invalid.base64", text));
    return;
  }
  frames.Values().Add(std::make_shared<Data::BlobValue>(std::move(bytes)));
  frames.Become(kWrapperEnd);
}

void OnSecret(FrameStack& frames, std::string_view text) {
  frames.Values().Add(std::make_shared<Data::SecretValue>(std::string(text)));
  frames.Become(kWrapperEnd);
}

constexpr FrameFunctions kBase64 = {.onString = &OnBase64};
constexpr FrameFunctions kSecret = {.onString = &OnSecret};

// Optionals.

void CloseOptional(FrameStack& frames) {
  frames.Values().CloseOptional();
  frames.Pop();
}

void OnUnsetChild(FrameStack& frames) {
  frames.Values().Add(nullptr);
  frames.Pop();
}

constexpr FrameFunctions ChildFunctions() {
  FrameFunctions functions = ValueFunctions<Place::kSingle>();
  functions.onNull = &OnUnsetChild;
  return functions;
}

constexpr FrameFunctions kOptionalEnd = {.onEndObject = &CloseOptional};
constexpr FrameFunctions kOptionalChild = ChildFunctions();

// Structures and errors, by the kind that is made.

void OnFieldName(FrameStack& frames, std::string_view name) {
  frames.Values().AddFieldName(name);
  frames.Push(kValueFrame);
}

void CloseNameObject(FrameStack& frames) { frames.Become(kWrapperEnd); }

constexpr FrameFunctions kNameEnd = {.onEndObject = &CloseNameObject};

template <typename Kind>
void CloseFields(FrameStack& frames) {
  frames.Values().CloseFields<Kind>(frames.Target().mark);
  frames.Become(kNameEnd);
}

template <typename Kind>
constexpr FrameFunctions kFields = {.onString = &OnFieldName, .onEndObject = &CloseFields<Kind>};

template <typename Kind>
void OpenFields(FrameStack& frames) {
  frames.Become(kFields<Kind>);
}

template <typename Kind>
constexpr FrameFunctions kFieldsObject = {.onStartObject = &OpenFields<Kind>};

template <typename Kind>
void OnName(FrameStack& frames, std::string_view name) {
  frames.Target().mark = frames.Values().OpenFields(name);
  frames.Become(kFieldsObject<Kind>);
}

template <typename Kind>
constexpr FrameFunctions kName = {.onString = &OnName<Kind>};

template <typename Kind>
void OpenNameObject(FrameStack& frames) {
  frames.Become(kName<Kind>);
}

template <typename Kind>
constexpr FrameFunctions kNameObject = {.onStartObject = &OpenNameObject<Kind>};

// The key of a wrapper tells what is in it.

void OnForm(FrameStack& frames, std::string_view form) {
  if (form == "STRUCTURE") {
    frames.Become(kNameObject<Data::StructValue>);
  } else if (form == "OPTIONAL") {
    frames.Become(kOptionalEnd);
    frames.Push(kOptionalChild);
  } else if (form == "BINARY") {
    frames.Become(kBase64);
  } else if (form == "SECRET") {
    frames.Become(kSecret);
  } else if (form == "ERROR") {
    frames.Become(kNameObject<Data::ErrorValue>);
  } else {
    frames.Fail(MakeJsonProtocolMessage("krova.protocol.json.invalid.type", form));
  }
}

void CloseEmptyObject(FrameStack& frames) {
  frames.Values().Add(nullptr);
  frames.Pop();
}

constexpr FrameFunctions kForm = {.onString = &OnForm, .onEndObject = &CloseEmptyObject};

template <Place kPlace>
void OnStartObject(FrameStack& frames) {
  Open<kPlace>(frames, kForm);
}

}  // namespace

constexpr FrameFunctions kValueFrame = ValueFunctions<Place::kSingle>();

}  // namespace Krova::Protocol::Json
