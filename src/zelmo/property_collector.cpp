#include "zelmo/property_collector.h"

#include "zelmo/member_reader.h"
#include "zelmo/member_writer.h"
#include "zelmo/soap_stub_adapter.h"

namespace Zelmo::Core {
namespace {

using Collector = PropertyCollector;
using Selections = std::vector<std::shared_ptr<const Collector::SelectionSpec>>;

const Type kType("PropertyCollector", NewStub<Collector>);

void WriteSelections(MemberWriter& writer, const Selections& selections) {
  for (const auto& selection : selections) {
    MemberWriter member = writer.Structure("selectSet");
    selection->Write(member);
  }
}

void WriteSwitch(MemberWriter& writer, const char* name, const std::optional<bool>& value) {
  if (value) writer.Boolean(name, *value);
}

void WritePropertySpec(MemberWriter writer, const Collector::PropertySpec& spec) {
  writer.Text("type", spec.type);
  WriteSwitch(writer, "all", spec.all);
  writer.Texts("pathSet", spec.pathSet);
}

void WriteObjectSpec(MemberWriter writer, const Collector::ObjectSpec& spec) {
  writer.Reference("obj", spec.obj);
  WriteSwitch(writer, "skip", spec.skip);
  WriteSelections(writer, spec.selectSet);
}

void WriteFilterSpec(MemberWriter writer, const Collector::FilterSpec& spec) {
  for (const auto& properties : spec.propSet) {
    WritePropertySpec(writer.Structure("propSet"), properties);
  }
  for (const auto& object : spec.objectSet) {
    WriteObjectSpec(writer.Structure("objectSet"), object);
  }
}

Collector::ObjectContent ReadObject(pugi::xml_node node) {
  MemberReader reader(node);
  Collector::ObjectContent object{reader.Reference("obj")};
  while (reader.OptionalStructure("propSet")) {
  }
  reader.End();
  return object;
}

std::unique_ptr<Collector::RetrieveResult> ReadPage(const CallResults& results) {
  const pugi::xml_node node = results.OneOrNone();
  if (!node) return nullptr;
  auto page = std::make_unique<Collector::RetrieveResult>();
  MemberReader reader(node);
  page->token = reader.OptionalText("token");
  while (const pugi::xml_node object = reader.OptionalStructure("objects")) {
    page->objects.push_back(ReadObject(object));
  }
  reader.End();
  return page;
}

}  // namespace

const Type& PropertyCollector::StaticType() { return kType; }

void PropertyCollector::SelectionSpec::Write(MemberWriter& writer) const {
  if (name) writer.Text("name", *name);
}

void PropertyCollector::TraversalSpec::Write(MemberWriter& writer) const {
  writer.SetDerivedType("TraversalSpec");
  SelectionSpec::Write(writer);
  writer.Text("type", type);
  writer.Text("path", path);
  WriteSwitch(writer, "skip", skip);
  WriteSelections(writer, selectSet);
}

std::unique_ptr<PropertyCollector::RetrieveResult> PropertyCollector::RetrieveProperties(
    const std::vector<FilterSpec>& specSet, const RetrieveOptions& options) const {
  return ReadPage(Adapter().Invoke(GetMoRef(), "RetrieveProperties", [&](MemberWriter& call) {
    for (const FilterSpec& spec : specSet) WriteFilterSpec(call.Structure("specSet"), spec);
    MemberWriter writer = call.Structure("options");
    if (options.maxObjects) writer.Integer("maxObjects", *options.maxObjects);
  }));
}

std::unique_ptr<PropertyCollector::RetrieveResult> PropertyCollector::ContinueRetrieveProperties(
    const std::string& token) const {
  return ReadPage(Adapter().Invoke(GetMoRef(), "ContinueRetrieveProperties",
                                   [&](MemberWriter& call) { call.Text("token", token); }));
}

}  // namespace Zelmo::Core
