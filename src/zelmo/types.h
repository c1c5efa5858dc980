// The types of managed objects, and the versions of the interfaces that they belong to.
#pragma once

#include <memory>
#include <string>
#include <string_view>

namespace Zelmo {

class ManagedObject;
class SoapStubAdapter;

/// A reference to an object of a server: the object's type by its wire name, and its id there.
struct MoRef {
  std::string type;
  std::string id;

  friend bool operator==(const MoRef&, const MoRef&) = default;
};

/// A type of managed objects. One for each, alive as long as the process; it makes itself known to
/// InitializeStaticTypes by its construction.
class Type {
 public:
  using MakeStub = std::shared_ptr<ManagedObject> (*)(const MoRef& reference);

  /// \param name  As on the wire; a literal.
  Type(const char* name, MakeStub makeStub) noexcept;
  Type(const Type&) = delete;
  Type& operator=(const Type&) = delete;

  const char* GetName() const { return name_; }
  std::shared_ptr<ManagedObject> NewStub(const MoRef& reference) const {
    return makeStub_(reference);
  }

 private:
  friend void InitializeStaticTypes();

  const char* name_;
  MakeStub makeStub_;
  const Type* next_;
};

/// \return The type of a class of stubs.
template <typename Stub>
const Type& GetType() {
  return Stub::StaticType();
}

/// A version of an interface. One for each, like a Type.
class Version {
 public:
  /// All literals.
  /// \param wireNamespace  Of the elements on the wire.
  /// \param soapAction     The header's value, with its quotes.
  Version(const char* name, const char* id, const char* vmodlName, const char* wireNamespace,
          const char* soapAction) noexcept;
  Version(const Version&) = delete;
  Version& operator=(const Version&) = delete;

  const char* GetName() const { return name_; }
  const char* GetId() const { return id_; }
  const char* GetVmodlName() const { return vmodlName_; }
  const char* GetNamespace() const { return namespace_; }
  const char* GetSoapAction() const { return soapAction_; }

 private:
  friend void InitializeStaticTypes();

  const char* name_;
  const char* id_;
  const char* vmodlName_;
  const char* namespace_;
  const char* soapAction_;
  const Version* next_;
};

/// Makes every type and version of the program known by name. Once, before any other operation,
/// while no other thread is here; a further call changes nothing.
void InitializeStaticTypes();

/// \return The type of that wire name, or null for a name that nobody knows.
const Type* FindType(std::string_view name);

/// \throws Tunrak::Exception  for an unknown version, and for any before InitializeStaticTypes.
const Version* FindVersion(const std::string& name, const std::string& id);
const Version* FindVersionByVmodlName(const std::string& vmodlName);

}  // namespace Zelmo
