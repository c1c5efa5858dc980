// The lookup service's register: which services there are, and where.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "zelmo/managed_object.h"

namespace Lookup {

class ServiceRegistration : public Zelmo::ManagedObject {
 public:
  class ServiceType {
   public:
    void SetProduct(const std::string& product) { product_ = product; }
    void SetType(const std::string& type) { type_ = type; }
    const std::string& GetProduct() const { return product_; }
    const std::string& GetType() const { return type_; }

   private:
    std::string product_;
    std::string type_;
  };

  class EndpointType {
   public:
    void SetProtocol(const std::string& protocol) { protocol_ = protocol; }
    void SetType(const std::string& type) { type_ = type; }
    const std::optional<std::string>& GetProtocol() const { return protocol_; }
    const std::optional<std::string>& GetType() const { return type_; }

   private:
    std::optional<std::string> protocol_;
    std::optional<std::string> type_;
  };

  /// What a registration must have; a part that isn't set fits any.
  class Filter {
   public:
    void SetServiceType(const ServiceType& type) { serviceType_ = type; }
    void SetEndpointType(const EndpointType& type) { endpointType_ = type; }
    const std::optional<ServiceType>& GetServiceType() const { return serviceType_; }
    const std::optional<EndpointType>& GetEndpointType() const { return endpointType_; }

   private:
    std::optional<ServiceType> serviceType_;
    std::optional<EndpointType> endpointType_;
  };

  class Endpoint {
   public:
    Endpoint(std::string url, EndpointType type) : url_(std::move(url)), type_(std::move(type)) {}
    const std::string& GetUrl() const { return url_; }
    const EndpointType& GetEndpointType() const { return type_; }

   private:
    std::string url_;
    EndpointType type_;
  };

  /// What a registered service may change of itself.
  class MutableServiceInfo {
   public:
    const std::vector<Endpoint>& GetServiceEndpoints() const { return endpoints_; }
    void AddServiceEndpoint(Endpoint endpoint) { endpoints_.push_back(std::move(endpoint)); }

   private:
    std::vector<Endpoint> endpoints_;
  };

  class Info : public MutableServiceInfo {
   public:
    Info(std::string serviceId, ServiceType type)
        : serviceId_(std::move(serviceId)), type_(std::move(type)) {}
    const std::string& GetServiceId() const { return serviceId_; }
    const ServiceType& GetServiceType() const { return type_; }

   private:
    std::string serviceId_;
    ServiceType type_;
  };

  using ManagedObject::ManagedObject;
  static const Zelmo::Type& StaticType();

  /// \return The registrations that pass, each with those of its endpoints that do.
  std::vector<Info> List(const Filter& filter) const;
};

}  // namespace Lookup
