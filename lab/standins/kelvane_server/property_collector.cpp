#include "property_collector.h"

#include <algorithm>
#include <utility>

#include "soap_fault.h"
#include "xml_text.h"

namespace Lab::Kelvane {
namespace {

void WriteReference(const Inventory& inventory, Inventory::Number object, const char* attributes,
                    const char* element, std::string& xml) {
  xml.append("<").append(element).append(attributes).append(" type=\"");
  xml.append(TypeName(inventory.TypeOf(object))).append("\">").append(inventory.IdOf(object));
  xml.append("</").append(element).append(">");
}

}  // namespace

PropertyCollector::PropertyCollector(const Inventory& inventory, std::uint32_t pageLimit)
    : inventory_(inventory), pageLimit_(pageLimit) {}

std::optional<Page> PropertyCollector::Retrieve(int session, const std::vector<FilterSpec>& filters,
                                                std::optional<std::int32_t> maxObjects) {
  if (maxObjects && *maxObjects < 1) Refuse("maxObjects is less than 1.", "InvalidArgument");
  Retrieval retrieval;
  retrieval.session = session;
  retrieval.pageSize =
      maxObjects ? std::min(pageLimit_, static_cast<std::uint32_t>(*maxObjects)) : pageLimit_;
  for (const FilterSpec& filter : filters) retrieval.walks.emplace_back(inventory_, filter);
  Advance(retrieval);
  if (!retrieval.ahead) return std::nullopt;
  return NextPage(std::move(retrieval));
}

Page PropertyCollector::Continue(int session, const std::string& token) {
  const auto entry = retrievals_.find(token);
  if (entry == retrievals_.end() || entry->second.session != session) {
    Refuse("The token isn't one of this session, or it has been used.", "InvalidArgument");
  }
  return NextPage(std::move(retrievals_.extract(entry).mapped()));
}

void PropertyCollector::EndSession(int session) {
  for (auto entry = retrievals_.begin(); entry != retrievals_.end();) {
    entry = entry->second.session == session ? retrievals_.erase(entry) : std::next(entry);
  }
}

void PropertyCollector::Advance(Retrieval& retrieval) const {
  retrieval.ahead.reset();
  while (!retrieval.walks.empty() && !(retrieval.ahead = retrieval.walks.front().Next())) {
    retrieval.walks.pop_front();
  }
}

Page PropertyCollector::NextPage(Retrieval retrieval) {
  Page page;
  std::string objects;
  while (retrieval.ahead && page.objects < retrieval.pageSize) {
    WriteObject(*retrieval.ahead, objects);
    ++page.objects;
    Advance(retrieval);
  }
  page.hasToken = retrieval.ahead.has_value();
  if (page.hasToken) {
    const std::string token = NewToken();
    page.xml = Element("token", token);
    retrievals_.emplace(token, std::move(retrieval));
  }
  page.xml += objects;
  return page;
}

std::string PropertyCollector::NewToken() {
  return "page-" + std::to_string(random_()) + "-" + std::to_string(random_());
}

void PropertyCollector::WriteObject(const Walk::Found& found, std::string& xml) const {
  xml += "<objects>";
  WriteReference(inventory_, found.object, "", "obj", xml);
  std::vector<std::string> paths = found.properties->pathSet;
  if (found.properties->all) {
    // What has a form in an answer: the lists of references haven't.
    paths = {"name"};
    for (const Inventory::Link& link : inventory_.LinksOf(found.object)) {
      const std::string_view name = PropertyName(link.property);
      if (!IsList(inventory_.TypeOf(found.object), link.property)) paths.emplace_back(name);
    }
  }
  for (const std::string& path : paths) WriteProperty(found.object, path, xml);
  xml += "</objects>";
}

void PropertyCollector::WriteProperty(Inventory::Number object, const std::string& path,
                                      std::string& xml) const {
  if (path == "name") {
    xml += "<propSet><name>name</name><val xsi:type=\"string\">";
    xml += EscapeXml(inventory_.NameOf(object)) + "</val></propSet>";
    return;
  }
  const std::optional<Property> property = FindProperty(inventory_.TypeOf(object), path);
  for (const Inventory::Link& link : inventory_.LinksOf(object)) {
    if (link.property != property) continue;
    xml += "<propSet>" + Element("name", path);
    WriteReference(inventory_, link.target, " xsi:type=\"reference\"", "val", xml);
    xml += "</propSet>";
  }
}

}  // namespace Lab::Kelvane
