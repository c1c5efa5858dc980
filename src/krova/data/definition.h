// Data definitions: the types of data values.
//
// Definitions are made with std::make_shared, shared by pointer to constant and immutable after
// construction, so that one object serves many methods and threads. A recursive type refers to
// itself through a StructRefDefinition, see there.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "krova/data/data_type.h"

namespace Krova::Data {

class DataDefinition;
class VoidDefinition;
class OpaqueDefinition;
class DynamicStructureDefinition;
class DynamicErrorDefinition;
class IntegerDefinition;
class DoubleDefinition;
class BooleanDefinition;
class BlobDefinition;
class StringDefinition;
class SecretDefinition;
class ErrorDefinition;
class OptionalDefinition;
class ListDefinition;
class StructDefinition;
class StructRefDefinition;
class IsOneOfDefinition;
class UnionCaseDefinition;

using DefinitionPointer = std::shared_ptr<const DataDefinition>;
/// From field name to definition, in byte-wise order of the names.
using DefinitionMap = std::map<std::string, DefinitionPointer, std::less<>>;

/// Told which kind a definition is. Children are the visitor's own business.
class DefinitionVisitor {
 public:
  virtual void Visit(const std::shared_ptr<const VoidDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const OpaqueDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const DynamicStructureDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const DynamicErrorDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const IntegerDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const DoubleDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const BooleanDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const BlobDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const StringDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const SecretDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const ErrorDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const OptionalDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const ListDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const StructDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const StructRefDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const IsOneOfDefinition>& definition) = 0;
  virtual void Visit(const std::shared_ptr<const UnionCaseDefinition>& definition) = 0;
  virtual ~DefinitionVisitor() = default;
};

/// Root of the kinds of definitions.
class DataDefinition {
 public:
  DataDefinition(const DataDefinition&) = delete;
  DataDefinition& operator=(const DataDefinition&) = delete;

  virtual void Accept(DefinitionVisitor& visitor) const = 0;
  /// The printed form, for messages.
  virtual std::string ToString() const = 0;
  virtual std::shared_ptr<const DataDefinition> shared_from_this() const = 0;
  virtual std::shared_ptr<DataDefinition> shared_from_this() = 0;
  virtual ~DataDefinition() = default;

  /// The kind of value that fits, or the kind of the definition where no value has that kind.
  DataType GetType() const { return type_; }

 protected:
  explicit DataDefinition(DataType type) : type_(type) {}

 private:
  const DataType type_;
};

/// Whether \p definition holds no other.
bool IsLeaf(const DataDefinition& definition);

/// What DataDefinition::ToString gives. Doesn't recurse, and ends at structure references.
std::string PrintDefinition(const DataDefinition& definition);

/// What all kinds have in common.
template <typename Kind>
class DefinitionKind : public DataDefinition, public std::enable_shared_from_this<Kind> {
 public:
  void Accept(DefinitionVisitor& visitor) const final {
    visitor.Visit(std::enable_shared_from_this<Kind>::shared_from_this());
  }
  std::string ToString() const final { return PrintDefinition(*this); }
  std::shared_ptr<const DataDefinition> shared_from_this() const final {
    return std::enable_shared_from_this<Kind>::shared_from_this();
  }
  std::shared_ptr<DataDefinition> shared_from_this() final {
    return std::enable_shared_from_this<Kind>::shared_from_this();
  }

 protected:
  using DataDefinition::DataDefinition;
};

class VoidDefinition final : public DefinitionKind<VoidDefinition> {
 public:
  VoidDefinition() : DefinitionKind(DataType::kVoid) {}
};

/// Fits any value that is set. Prints as VoidDefinition does.
class OpaqueDefinition final : public DefinitionKind<OpaqueDefinition> {
 public:
  OpaqueDefinition() : DefinitionKind(DataType::kOpaque) {}
};

class IntegerDefinition final : public DefinitionKind<IntegerDefinition> {
 public:
  IntegerDefinition() : DefinitionKind(DataType::kInteger) {}
};

class DoubleDefinition final : public DefinitionKind<DoubleDefinition> {
 public:
  DoubleDefinition() : DefinitionKind(DataType::kDouble) {}
};

class BooleanDefinition final : public DefinitionKind<BooleanDefinition> {
 public:
  BooleanDefinition() : DefinitionKind(DataType::kBoolean) {}
};

class BlobDefinition final : public DefinitionKind<BlobDefinition> {
 public:
  BlobDefinition() : DefinitionKind(DataType::kBlob) {}
};

class StringDefinition final : public DefinitionKind<StringDefinition> {
 public:
  StringDefinition() : DefinitionKind(DataType::kString) {}
};

class SecretDefinition final : public DefinitionKind<SecretDefinition> {
 public:
  SecretDefinition() : DefinitionKind(DataType::kSecret) {}
};

class OptionalDefinition final : public DefinitionKind<OptionalDefinition> {
 public:
  explicit OptionalDefinition(DefinitionPointer element)
      : DefinitionKind(DataType::kOptional), element_(std::move(element)) {}
  ~OptionalDefinition() override;
  const DefinitionPointer& GetElement() const { return element_; }

 private:
  DefinitionPointer element_;
};

class ListDefinition final : public DefinitionKind<ListDefinition> {
 public:
  explicit ListDefinition(DefinitionPointer element)
      : DefinitionKind(DataType::kList), element_(std::move(element)) {}
  ~ListDefinition() override;
  const DefinitionPointer& GetElement() const { return element_; }

 private:
  DefinitionPointer element_;
};

/// A string out of a set. Its kind, and its printed form, are the string's.
class IsOneOfDefinition final : public DefinitionKind<IsOneOfDefinition> {
 public:
  using Values = std::set<std::string, std::less<>>;

  explicit IsOneOfDefinition(Values values)
      : DefinitionKind(DataType::kString), values_(std::move(values)) {}
  const Values& GetValues() const { return values_; }

 private:
  const Values values_;
};

/// An optional structure of which one field, the tag, tells which others are set.
class UnionCaseDefinition final : public DefinitionKind<UnionCaseDefinition> {
 public:
  /// From the tag's text to the fields that must be set with it.
  using Cases = std::map<std::string, std::set<std::string, std::less<>>, std::less<>>;

  UnionCaseDefinition(std::string tag, Cases cases)
      : DefinitionKind(DataType::kOptional), tag_(std::move(tag)), cases_(std::move(cases)) {}
  const std::string& GetTag() const { return tag_; }
  const Cases& GetCases() const { return cases_; }

 private:
  const std::string tag_;
  const Cases cases_;
};

/// Definitions by field name.
class FieldDefinitions {
 public:
  /// Whether there is a map at all; without one GetFields gives an empty one.
  bool HasFields() const { return fields_.has_value(); }
  const DefinitionMap& GetFields() const;

 protected:
  explicit FieldDefinitions(std::optional<DefinitionMap> fields) : fields_(std::move(fields)) {}
  ~FieldDefinitions();

 private:
  std::optional<DefinitionMap> fields_;
};

/// Stands for the missing name of a structure or an error in printed forms.
inline constexpr char kNoName[] = "<noname>";

/// Name and fields of a structure or an error. A value's name isn't compared with it.
class NamedDefinition : public FieldDefinitions {
 public:
  const std::optional<std::string>& GetName() const { return name_; }

 protected:
  NamedDefinition(std::optional<std::string> name, std::optional<DefinitionMap> fields)
      : FieldDefinitions(std::move(fields)), name_(std::move(name)) {}
  ~NamedDefinition() = default;

 private:
  const std::optional<std::string> name_;
};

class StructDefinition final : public DefinitionKind<StructDefinition>, public NamedDefinition {
 public:
  explicit StructDefinition(std::optional<std::string> name = std::nullopt,
                            std::optional<DefinitionMap> fields = std::nullopt)
      : DefinitionKind(DataType::kStruct), NamedDefinition(std::move(name), std::move(fields)) {}
};

class ErrorDefinition final : public DefinitionKind<ErrorDefinition>, public NamedDefinition {
 public:
  explicit ErrorDefinition(std::optional<std::string> name = std::nullopt,
                           std::optional<DefinitionMap> fields = std::nullopt)
      : DefinitionKind(DataType::kError), NamedDefinition(std::move(name), std::move(fields)) {}
};

/// The markers that take the place of a name where a dynamic kind needs one.
inline constexpr char kDynamicStructureName[] = "_dynS";
inline constexpr char kDynamicErrorName[] = "_dynE";

/// Any structure or error that has the required fields.
class DynamicStructureDefinition final : public DefinitionKind<DynamicStructureDefinition>,
                                         public FieldDefinitions {
 public:
  explicit DynamicStructureDefinition(std::optional<DefinitionMap> fields = std::nullopt)
      : DefinitionKind(DataType::kDynamicStruct), FieldDefinitions(std::move(fields)) {}
};

/// The same where an error is wanted.
class DynamicErrorDefinition final : public DefinitionKind<DynamicErrorDefinition>,
                                     public FieldDefinitions {
 public:
  explicit DynamicErrorDefinition(std::optional<DefinitionMap> fields = std::nullopt)
      : DefinitionKind(DataType::kDynamicError), FieldDefinitions(std::move(fields)) {}
};

/// Where the references to a structure find its definition. Shared by all of them and set once the
/// structure is complete, before its definition is used.
///
/// A structure that contains itself owns its references and through them the holder; so the holder
/// doesn't own the structure, and the tree that contains it must outlive every use of a reference.
class StructHolder {
 public:
  void Set(const std::shared_ptr<const StructDefinition>& definition) { definition_ = definition; }
  /// \return Null before Set, and after the structure's end.
  std::shared_ptr<const StructDefinition> Get() const { return definition_.lock(); }

 private:
  std::weak_ptr<const StructDefinition> definition_;
};

/// A structure that is defined elsewhere in the same tree.
class StructRefDefinition final : public DefinitionKind<StructRefDefinition> {
 public:
  /// \param holder  Not null.
  StructRefDefinition(std::string name, std::shared_ptr<const StructHolder> holder)
      : DefinitionKind(DataType::kStructRef), name_(std::move(name)), holder_(std::move(holder)) {}
  const std::string& GetName() const { return name_; }
  /// \return Null as long as nothing is resolved.
  std::shared_ptr<const StructDefinition> GetTarget() const { return holder_->Get(); }

 private:
  const std::string name_;
  const std::shared_ptr<const StructHolder> holder_;
};

}  // namespace Krova::Data
