#include "findings.h"

#include <algorithm>
#include <vector>

#include "json_path.h"

namespace Hvctl {
namespace {

struct Row {
  std::string severity;
  std::string component;
  std::string text;
};

constexpr std::size_t kGap = 2;

/// \return How many columns a text in UTF-8 takes at a terminal, if all its characters are narrow.
std::size_t WidthOf(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string Padded(const std::string& text, std::size_t width) {
  const std::size_t used = WidthOf(text);
  return text + std::string(width > used ? width - used : 0, ' ');
}

/// One row for each line of the text, the first with severity and component. Characters that a
/// terminal would obey become blanks.
void AddText(std::vector<Row>& rows, Row row, const std::string& text) {
  std::string line;
  for (const char c : text + '\n') {
    if (c != '\n') {
      line += static_cast<unsigned char>(c) < ' ' || c == '\x7f' ? ' ' : c;
      continue;
    }
    row.text = line;
    rows.push_back(row);
    row = {};
    line.clear();
  }
}

std::string ShownText(const Json::Value& finding) {
  const std::string text = TextOf(Find(finding, {"description", "localized"}));
  return text.empty() ? TextOf(Find(finding, {"text", "localized"})) : text;
}

class Table {
 public:
  void Add(const std::string& component, const Json::Value& finding) {
    const bool isError = TextOf(Find(finding, {"severity"})) == "ERROR";
    ++(isError ? errors_ : warnings_);
    AddText(rows_, {isError ? "ERROR" : "WARNING", component, {}}, ShownText(finding));
    const std::string resolution = TextOf(Find(finding, {"resolution", "localized"}));
    if (!resolution.empty()) AddText(rows_, {}, "Resolution: " + resolution);
  }

  int Errors() const { return errors_; }

  std::string Text() const { return rows_.empty() ? "No findings.\n" : Lines() + Sum(); }

 private:
  std::string Lines() const {
    std::vector<Row> rows{{"Severity", "Component", "Finding"}};
    rows.insert(rows.end(), rows_.begin(), rows_.end());
    std::size_t severity = 0;
    std::size_t component = 0;
    for (const Row& row : rows) {
      severity = std::max(severity, WidthOf(row.severity));
      component = std::max(component, WidthOf(row.component));
    }
    std::string text;
    for (const Row& row : rows) {
      std::string line = Padded(row.severity, severity + kGap) +
                         Padded(row.component, component + kGap) + row.text;
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
    return text;
  }

  std::string Sum() const {
    const auto counted = [](int count, const char* noun) {
      return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
    };
    return "\n" + counted(errors_, "error") + ", " + counted(warnings_, "warning") + "\n";
  }

  std::vector<Row> rows_;
  int errors_ = 0;
  int warnings_ = 0;
};

/// The findings of all components, as far as the document has the expected form.
Table TableOf(const Json::Value& components) {
  Table table;
  if (!components.isArray()) return table;
  for (const Json::Value& component : components) {
    const Json::Value* findings = Find(component, {"requirements", "requirementMismatchSpecs"});
    if (findings == nullptr || !findings->isArray()) continue;
    const std::string name = TextOf(Find(component, {"name"}));
    for (const Json::Value& finding : *findings) table.Add(name, finding);
  }
  return table;
}

}  // namespace

std::string FindingsTable(const Json::Value& components) { return TableOf(components).Text(); }

int ErrorsAmong(const Json::Value& components) { return TableOf(components).Errors(); }

}  // namespace Hvctl
