#include "core/json_documents.h"

#include <algorithm>

#include "core/logging.h"
#include "core/property_store.h"
#include "core/text.h"
#include "host/windows_api.h"

namespace Halvard {
namespace {

bool IsPropertyNameCharacter(wchar_t character) {
  // isdigit is defined for narrow characters alone.
  const bool isDigit = character >= L'0' && character <= L'9';
  return character == L'_' || isDigit || iswupper(static_cast<wint_t>(character)) != 0;
}

/// \return True, with the name between the brackets, when the whole text has the form "[NAME]".
bool IsPlaceholder(std::wstring_view text, std::wstring& name) {
  if (text.size() < 2 || text.front() != L'[') return false;
  if (text.find(L']', 1) != text.size() - 1) return false;
  name = text.substr(1, text.size() - 2);
  return true;
}

/// How a property's text stands in a document when it is no JSON object. Numbers stay strings.
Json::Value ValueFromText(const std::wstring& text) {
  if (text.empty()) return Json::Value(Json::nullValue);
  if (text == L"0" || _wcsicmp(text.c_str(), L"false") == 0) return Json::Value(false);
  if (text == L"1" || _wcsicmp(text.c_str(), L"true") == 0) return Json::Value(true);
  return Json::Value(WideToUtf8(text));
}

}  // namespace

bool ParseJson(std::string_view text, Json::Value& out) {
  constexpr bool kCollectComments = true;
  Json::Reader reader;
  try {
    return reader.parse(text.data(), text.data() + text.size(), out, kCollectComments);
  } catch (const Json::Exception&) {
    // The reader throws where the nesting goes beyond its limit.
    return false;
  }
}

bool ConvertStringToJsonObject(const std::string& utf8Text, Json::Value& out) {
  if (ParseJson(utf8Text, out)) return true;
  LogScope log;
  log.Warn(L"ConvertStringToJsonObject: Failed to convert passed string to Json object.");
  return false;
}

std::wstring StyledText(const Json::Value& document) {
  return Utf8ToWide(Json::StyledWriter().write(document));
}

std::string TextOrNothing(const Json::Value& object, const char* member) {
  if (!object.isObject()) return {};
  const Json::Value& value = object[member];
  return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
}

int GetJsonProperty(const std::wstring& key, Json::Value& out) {
  const std::wstring text = gProperties[key];
  if (ParseJson(WideToUtf8(text), out)) return 0;
  LogScope log;
  log.Info(L"GetJsonProperty: Property '%s' is not a json object", key.c_str());
  if (IsPrivateProperty(key)) {
    log.Info(L"GetJsonProperty: Json was: ***");
  } else {
    log.Info(L"GetJsonProperty: Json was: %s", text.c_str());
  }
  return kJsonFailure;
}

bool IsPropertyName(std::wstring_view name) {
  return std::ranges::all_of(name, IsPropertyNameCharacter);
}

void ResolveJsonTree(Json::Value& value, JsonVisitor visitor, void* context) {
  if (!value.isArray() && !value.isObject()) {
    visitor(value, context);
    return;
  }
  for (Json::Value& member : value) ResolveJsonTree(member, visitor, context);
}

void JsonResolveProperty(Json::Value& value, void* /*context*/) {
  std::wstring name;
  if (!value.isString() || !IsPlaceholder(Utf8ToWide(value.asString()), name)) return;
  LogScope log;
  log.Info(L"JsonResolveProperty: Handling property %s", name.c_str());
  if (!IsPropertyName(name)) {
    log.Info(L"JsonResolveProperty: Ignoring private property %ws", name.c_str());
    return;
  }
  Json::Value parsed;
  if (GetJsonProperty(name, parsed) == 0 && parsed.type() == Json::objectValue) {
    log.Info(L"JsonResolveProperty: Substituting %s with json object", name.c_str());
    value = parsed;
    return;
  }
  const std::wstring text = gProperties[name];
  if (IsPrivateProperty(name)) {
    log.Info(L"JsonResolveProperty: Substituting %s = ***", name.c_str());
  } else {
    log.Info(L"JsonResolveProperty: Substituting %s = '%s'", name.c_str(), text.c_str());
  }
  value = ValueFromText(text);
}

}  // namespace Halvard
