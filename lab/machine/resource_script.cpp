#include "machine/resource_script.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

namespace Lab {
namespace {

namespace fs = std::filesystem;

bool IsWordPart(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

/// The pieces of one file: words and numbers, quoted texts, directives, single signs.
class Tokens {
 public:
  explicit Tokens(const fs::path& file) : file_(file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw ResourceScriptError(file.string() + ": can't be read");
    contents_.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    SkipBlanks();
  }

  bool AtEnd() const { return at_ == contents_.size(); }
  bool AtText() const { return !AtEnd() && contents_[at_] == '"'; }
  bool AtDirective() const { return !AtEnd() && contents_[at_] == '#'; }
  bool AtNumber() const {
    return !AtEnd() && std::isdigit(static_cast<unsigned char>(contents_[at_]));
  }

  /// Takes the word or sign \p token if it comes next.
  bool Take(std::string_view token) {
    if (contents_.compare(at_, token.size(), token) != 0) return false;
    const std::size_t end = at_ + token.size();
    if (IsWordPart(token.back()) && end < contents_.size() && IsWordPart(contents_[end])) {
      return false;
    }
    at_ = end;
    SkipBlanks();
    return true;
  }

  void Expect(std::string_view token) {
    if (!Take(token)) Fail(std::string(token));
  }

  /// Takes a number up to 65535, decimal or hexadecimal.
  std::uint16_t TakeNumber() {
    std::size_t end = at_;
    while (end < contents_.size() && IsWordPart(contents_[end])) ++end;
    const std::string digits = contents_.substr(at_, end - at_);
    std::size_t used = 0;
    unsigned long number = 0x10000;
    if (AtNumber() && digits.size() <= 6) number = std::stoul(digits, &used, 0);
    if (number > 0xFFFF || used != digits.size()) Fail("a number from 0 to 65535");
    at_ = end;
    SkipBlanks();
    return static_cast<std::uint16_t>(number);
  }

  /// Takes one text in quotes and resolves its escapes.
  std::string TakeText() {
    std::string text;
    for (++at_; !AtEnd() && contents_[at_] != '\n'; ++at_) {
      if (contents_[at_] == '\\') {
        text += TakeEscape();
      } else if (contents_[at_] != '"') {
        text += contents_[at_];
      } else if (contents_.compare(at_, 2, "\"\"") == 0) {
        text += contents_[at_++];
      } else {
        ++at_;
        SkipBlanks();
        return text;
      }
    }
    Fail("a quote at the end of the text");
  }

  /// Takes the rest of a line that begins with #.
  std::string TakeDirective() {
    const std::size_t end = std::min(contents_.find_first_of("\r\n", at_), contents_.size());
    std::string line = contents_.substr(at_, end - at_);
    at_ = end;
    SkipBlanks();
    return line;
  }

  [[noreturn]] void Fail(const std::string& expected) const {
    const auto end = contents_.begin() + static_cast<std::ptrdiff_t>(at_);
    throw ResourceScriptError(file_.string() + ":" +
                              std::to_string(1 + std::count(contents_.begin(), end, '\n')) +
                              ": expected " + expected);
  }

 private:
  char TakeEscape() {
    const char c = ++at_ < contents_.size() ? contents_[at_] : '\0';
    switch (c) {
      case 'n':
        return '\n';
      case 'r':
        return '\r';
      case 't':
        return '\t';
      case '\\':
        return '\\';
      default:
        Fail("\\n, \\r, \\t or \\\\ for an escape");
    }
  }

  void SkipBlanks() {
    while (!AtEnd()) {
      if (std::isspace(static_cast<unsigned char>(contents_[at_]))) {
        ++at_;
      } else if (contents_.compare(at_, 2, "//") == 0) {
        at_ = std::min(contents_.find('\n', at_), contents_.size());
      } else if (contents_.compare(at_, 2, "/*") == 0) {
        const std::size_t end = contents_.find("*/", at_ + 2);
        if (end == std::string::npos) Fail("*/ at the end of the comment");
        at_ = end + 2;
      } else {
        return;
      }
    }
  }

  fs::path file_;
  std::string contents_;
  std::size_t at_ = 0;
};

class Reader {
 public:
  void Read(const fs::path& file) {
    if (++depth_ > kDeepest) throw ResourceScriptError(file.string() + ": included in itself");
    script_.files.push_back(file);
    Tokens tokens(file);
    while (!tokens.AtEnd()) ReadStatement(tokens, file);
    --depth_;
  }

  ResourceScript Script() && { return std::move(script_); }

 private:
  static constexpr int kDeepest = 16;

  void ReadStatement(Tokens& tokens, const fs::path& file) {
    if (tokens.AtDirective()) {
      Follow(tokens.TakeDirective(), tokens, file);
    } else if (tokens.Take("LANGUAGE")) {
      language_ = TakeLanguage(tokens);
    } else if (tokens.Take("STRINGTABLE")) {
      ReadTable(tokens);
    } else {
      tokens.Fail("LANGUAGE, STRINGTABLE, #include or #pragma");
    }
  }

  void Follow(const std::string& directive, const Tokens& tokens, const fs::path& file) {
    if (directive.starts_with("#pragma")) return;
    const std::size_t begin = directive.find('"');
    const std::size_t end = directive.rfind('"');
    if (!directive.starts_with("#include") || begin == end) tokens.Fail("#include \"file\"");
    Read(file.parent_path() / directive.substr(begin + 1, end - begin - 1));
  }

  static std::uint16_t TakeLanguage(Tokens& tokens) {
    const unsigned primary = tokens.TakeNumber();
    tokens.Expect(",");
    const unsigned sub = tokens.TakeNumber();
    return static_cast<std::uint16_t>((sub << 10) | primary);
  }

  void ReadTable(Tokens& tokens) {
    // A language named here is the table's alone.
    const std::uint16_t language = tokens.Take("LANGUAGE") ? TakeLanguage(tokens) : language_;
    const bool braces = tokens.Take("{");
    if (!braces) tokens.Expect("BEGIN");
    while (!tokens.Take(braces ? "}" : "END")) {
      if (!tokens.AtNumber()) tokens.Fail(braces ? "an id or }" : "an id or END");
      ReadRow(tokens, language);
    }
  }

  void ReadRow(Tokens& tokens, std::uint16_t language) {
    const std::uint16_t id = tokens.TakeNumber();
    if (!ids_.emplace(language, id).second) {
      tokens.Fail("an id other than " + std::to_string(id) + ", which the language has already");
    }
    tokens.Take(",");
    if (!tokens.AtText()) tokens.Fail("a text in quotes");
    std::string text;
    while (tokens.AtText()) text += tokens.TakeText();
    script_.strings.push_back({language, id, std::move(text)});
  }

  ResourceScript script_;
  std::set<std::pair<std::uint16_t, std::uint16_t>> ids_;
  std::uint16_t language_ = 0;
  int depth_ = 0;
};

}  // namespace

ResourceScript ReadResourceScript(const fs::path& file) {
  Reader reader;
  reader.Read(file);
  return std::move(reader).Script();
}

}  // namespace Lab
