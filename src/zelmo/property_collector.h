// The property collector: walks a server's inventory and reports objects in pages.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "zelmo/managed_object.h"

namespace Zelmo {

class MemberWriter;

namespace Core {

class PropertyCollector : public ManagedObject {
 public:
  /// Which properties of which type of object are wanted.
  struct PropertySpec {
    std::string type;
    std::optional<bool> all;
    std::vector<std::string> pathSet;
  };

  /// Stands for the traversal of that name in the same filter.
  struct SelectionSpec {
    virtual ~SelectionSpec() = default;
    virtual void Write(MemberWriter& writer) const;

    std::optional<std::string> name;
  };

  /// A step of the walk: from an object of a type, along one of its properties.
  struct TraversalSpec : SelectionSpec {
    void Write(MemberWriter& writer) const override;

    std::string type;
    std::string path;
    std::optional<bool> skip;
    std::vector<std::shared_ptr<const SelectionSpec>> selectSet;
  };

  /// An object that the walk starts from.
  struct ObjectSpec {
    MoRef obj;
    std::optional<bool> skip;
    std::vector<std::shared_ptr<const SelectionSpec>> selectSet;
  };

  struct FilterSpec {
    std::vector<PropertySpec> propSet;
    std::vector<ObjectSpec> objectSet;
  };

  struct RetrieveOptions {
    /// Objects in one page, at most.
    std::optional<std::int32_t> maxObjects;
  };

  /// An object that was found. Its properties are left in the answer, unread.
  struct ObjectContent {
    MoRef obj;
  };

  /// One page.
  struct RetrieveResult {
    /// Continues the retrieval; none on the last page.
    std::optional<std::string> token;
    std::vector<ObjectContent> objects;
  };

  using ManagedObject::ManagedObject;
  static const Type& StaticType();

  /// \return The first page; null if no object is found.
  std::unique_ptr<RetrieveResult> RetrieveProperties(const std::vector<FilterSpec>& specSet,
                                                     const RetrieveOptions& options) const;
  /// \return The page behind the one that the token came with; null behind the last.
  std::unique_ptr<RetrieveResult> ContinueRetrieveProperties(const std::string& token) const;
};

}  // namespace Core
}  // namespace Zelmo
