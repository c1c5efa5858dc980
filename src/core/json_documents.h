// JSON documents outside the API framework: the runner's files, the status file, and the
// placeholder language by which properties get into them.
#pragma once

#include <json/json.h>

#include <string>
#include <string_view>

namespace Halvard {

/// GetJsonProperty's code for a property that holds no JSON.
inline constexpr int kJsonFailure = 1603;

/// Parses UTF-8 text and keeps its comments.
/// \param out  What the reader made up to the first error, when the text is no JSON.
/// \return False when the text is no JSON, or is nested deeper than the reader goes.
bool ParseJson(std::string_view text, Json::Value& out);

/// Parses a document that a client sent as text.
/// \param out  As of ParseJson.
/// \return False, with a warning in the log, when the text is no JSON.
bool ConvertStringToJsonObject(const std::string& utf8Text, Json::Value& out);

/// \return A document as a log shows it: styled, over several lines, with a line end.
std::wstring StyledText(const Json::Value& document);

/// \param object  Of any JSON type.
/// \return The text of a member, in UTF-8; empty when there is none, or when what there is can't be
///         a text.
std::string TextOrNothing(const Json::Value& object, const char* member);

/// Parses a property's value, of whatever JSON type.
/// \return 0, or kJsonFailure after logging the value (a private one as "***"). An empty property
///         is a failure.
int GetJsonProperty(const std::wstring& key, Json::Value& out);

/// \return True when \p name consists of underscores, capitals and digits alone; the empty one too.
bool IsPropertyName(std::wstring_view name);

/// What ResolveJsonTree calls for a leaf. It may replace the value.
using JsonVisitor = void (*)(Json::Value& value, void* context);

/// Calls \p visitor, with \p context, for each value below \p value that is neither array nor
/// object, depth first. What a visitor puts in a leaf's place isn't walked.
void ResolveJsonTree(Json::Value& value, JsonVisitor visitor, void* context);

/// Resolves one leaf. A string "[NAME]" becomes what the property NAME holds: a JSON object if its
/// text is one, else null (empty text), a boolean ("0", "1", "false", "true", the words in any
/// case), or the text as a string. All other values stay as they are.
/// \param context  Not used.
void JsonResolveProperty(Json::Value& value, void* context = nullptr);

}  // namespace Halvard
