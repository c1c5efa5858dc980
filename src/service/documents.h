// The documents of a call: texts out of the request, the common members into the reply.
#pragma once

#include <json/json.h>

#include <string>

namespace Halvard::MigratorSvc {

/// \return A member as text, in UTF-8; empty when it is absent. Numbers and booleans are converted.
/// \throws Json::Exception when the request is no object, or the member an array or an object.
std::string TextMember(const Json::Value& request, const char* name);

/// \return The locale that the request names, which may be no supported one.
std::string RequestLocale(const Json::Value& request);

/// \return The version that the source is migrated to, with its build: the value of
///         `hv_kvsa_version`.
std::string TargetVersion();

/// Sets `result` to "success" and `error` to an empty text.
void SetSuccess(Json::Value& reply);

/// Sets `result` to "fail" and `error` to \p error.
void SetFailure(Json::Value& reply, const std::wstring& error);

}  // namespace Halvard::MigratorSvc
