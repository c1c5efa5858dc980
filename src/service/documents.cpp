#include "service/documents.h"

#include "core/text.h"
#include "core/version.h"

namespace Halvard::MigratorSvc {

std::string TextMember(const Json::Value& request, const char* name) {
  return request[name].asString();
}

std::string RequestLocale(const Json::Value& request) { return TextMember(request, "locale"); }

std::string TargetVersion() { return WideToUtf8(std::wstring(kVersion) + L"." + kBuild); }

void SetSuccess(Json::Value& reply) {
  reply["result"] = "success";
  reply["error"] = "";
}

void SetFailure(Json::Value& reply, const std::wstring& error) {
  reply["result"] = "fail";
  reply["error"] = WideToUtf8(error);
}

}  // namespace Halvard::MigratorSvc
