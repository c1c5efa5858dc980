// Names of services and their operations, and what is declared of them.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <utility>

namespace Krova::Data {
class DataDefinition;
}

namespace Krova::Core {

/// Names a service. Ordered by its text.
class InterfaceIdentifier {
 public:
  explicit InterfaceIdentifier(std::string name) : name_(std::move(name)) {}
  const std::string& GetName() const { return name_; }

 private:
  std::string name_;
};

inline bool operator<(const InterfaceIdentifier& left, const InterfaceIdentifier& right) {
  return left.GetName() < right.GetName();
}
inline bool operator==(const InterfaceIdentifier& left, const InterfaceIdentifier& right) {
  return left.GetName() == right.GetName();
}

/// Names an operation of a service. Ordered by service, then by operation.
class MethodIdentifier {
 public:
  /// \param interfaceId  Not null.
  MethodIdentifier(std::shared_ptr<const InterfaceIdentifier> interfaceId, std::string name)
      : interfaceId_(std::move(interfaceId)), name_(std::move(name)) {}
  const std::shared_ptr<const InterfaceIdentifier>& GetInterface() const { return interfaceId_; }
  const std::string& GetName() const { return name_; }

 private:
  std::shared_ptr<const InterfaceIdentifier> interfaceId_;
  std::string name_;
};

inline bool operator<(const MethodIdentifier& left, const MethodIdentifier& right) {
  if (*left.GetInterface() == *right.GetInterface()) return left.GetName() < right.GetName();
  return *left.GetInterface() < *right.GetInterface();
}

/// Orders pointers by what they point to.
struct PointedToLess {
  template <typename Pointer>
  bool operator()(const Pointer& left, const Pointer& right) const {
    return *left < *right;
  }
};

/// What an operation takes and gives.
struct MethodDefinition {
  std::shared_ptr<const MethodIdentifier> identifier;
  std::shared_ptr<const Data::DataDefinition> input;   ///< Null fits a null input only.
  std::shared_ptr<const Data::DataDefinition> output;  ///< Null fits a null output only.
};

/// The operations of a service.
struct InterfaceDefinition {
  std::shared_ptr<const InterfaceIdentifier> identifier;
  std::set<std::shared_ptr<const MethodIdentifier>, PointedToLess> methods;
};

}  // namespace Krova::Core
