// The lookup service: registered services, found by type without a login.
#pragma once

#include <vector>

#include "config.h"
#include "service.h"

namespace Lab::Kelvane {

class LookupService : public Service {
 public:
  /// \param hasRegistration  Whether the content offers the service registration.
  LookupService(bool hasRegistration, std::vector<Registration> registrations);

  std::string_view Path() const override { return "/lookupservice/sdk"; }
  std::string_view Space() const override { return "urn:lookup"; }
  std::string_view Action() const override { return "\"urn:lookup/version2\""; }
  ServiceAnswer Invoke(const SoapRequest& request, const std::string& cookie,
                       Json::Value& record) override;

 private:
  std::string RetrieveServiceContent(Members& arguments) const;
  std::string List(Members& arguments, Json::Value& record) const;

  bool hasRegistration_;
  std::vector<Registration> registrations_;
};

}  // namespace Lab::Kelvane
