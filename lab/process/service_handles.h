// What the service manager gives out.
#pragma once

#include <string>
#include <utility>

#include "machine/handles.h"
#include "machine/services.h"

namespace Lab {

/// No object of the system: CloseServiceHandle() alone takes its handle.
class ServiceControlObject : public Object {};

class ServiceManagerObject : public ServiceControlObject {
 public:
  const char* TypeName() const override { return "ServiceManager"; }
};

/// A service that was opened.
class ServiceObject : public ServiceControlObject {
 public:
  /// \param access  The rights that it was opened with.
  ServiceObject(std::wstring name, Service service, std::uint32_t access)
      : name_(std::move(name)), service_(std::move(service)), access_(access) {}

  const char* TypeName() const override { return "Service"; }
  const std::wstring& Name() const { return name_; }
  const Service& Described() const { return service_; }
  bool Grants(std::uint32_t right) const { return (access_ & right) == right; }

 private:
  const std::wstring name_;
  const Service service_;
  const std::uint32_t access_;
};

}  // namespace Lab
