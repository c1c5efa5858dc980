#include "zelmo/xml_scan.h"

#include <charconv>
#include <cstdint>
#include <string>

#include "tunrak/exception.h"
#include "zelmo/xml_text.h"

namespace Zelmo {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

[[noreturn]] void Refuse(const char* reason) {
  throw Tunrak::Exception(std::string("Bad XML: ") + reason + ".");
}

/// \return True for "&#...;" of a character that XML has, \p text beginning behind the "#".
bool IsGoodReference(std::string_view text) {
  const bool isHexadecimal = text.starts_with('x');
  if (isHexadecimal) text.remove_prefix(1);
  std::uint32_t codePoint = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), codePoint, isHexadecimal ? 16 : 10);
  return error == std::errc() && end != text.data() + text.size() && *end == ';' &&
         IsXmlCharacter(codePoint);
}

class Scanner {
 public:
  explicit Scanner(std::string_view document) : rest_(document) {}

  void Run() {
    if (rest_.starts_with(kByteOrderMark)) rest_.remove_prefix(kByteOrderMark.size());
    while (!rest_.empty()) {
      TakeText();
      if (!rest_.empty()) TakeMarkup();
    }
    if (!rootSeen_ || depth_ != 0) Refuse("it ends within an element");
  }

 private:
  void TakeText() {
    const std::string_view text = rest_.substr(0, rest_.find('<'));
    if (depth_ == 0 && text.find_first_not_of(kBlanks) != std::string_view::npos) {
      Refuse("text beside the document's element");
    }
    CheckReferences(text);
    rest_.remove_prefix(text.size());
  }

  void TakeMarkup() {
    if (rest_.starts_with("<!--")) return SkipPast("-->", 4);
    if (rest_.starts_with("<?")) return SkipPast("?>", 2);
    if (rest_.starts_with("<![CDATA[")) {
      if (depth_ == 0) Refuse("text beside the document's element");
      return SkipPast("]]>", 9);
    }
    if (rest_.starts_with("<!")) Refuse("it has a document type declaration");
    TakeTag();
  }

  void SkipPast(std::string_view ending, std::size_t from) {
    const std::size_t end = rest_.find(ending, from);
    if (end == std::string_view::npos) Refuse("it ends within markup");
    rest_.remove_prefix(end + ending.size());
  }

  void TakeTag() {
    const std::size_t end = TagEnd();
    const std::string_view tag = rest_.substr(1, end - 1);
    if (tag.starts_with('/')) {
      if (--depth_ < 0) Refuse("an end tag without a start");
    } else {
      CheckReferences(tag);
      Open(tag.ends_with('/'));
    }
    rest_.remove_prefix(end + 1);
  }

  void Open(bool closesItself) {
    if (depth_ == 0 && rootSeen_) Refuse("a second element beside the document's");
    rootSeen_ = true;
    if (depth_ == kDepthLimit) Refuse("its elements nest too deep");
    if (!closesItself) ++depth_;
  }

  /// \return Where the tag's ">" is; one within quotes is none.
  std::size_t TagEnd() const {
    std::size_t at = 1;
    while ((at = rest_.find_first_of(">\"'", at)) != std::string_view::npos) {
      if (rest_[at] == '>') return at;
      at = rest_.find(rest_[at], at + 1);
      if (at == std::string_view::npos) break;
      ++at;
    }
    Refuse("it ends within a tag");
  }

  static void CheckReferences(std::string_view text) {
    for (std::size_t at = 0; (at = text.find("&#", at)) != std::string_view::npos; at += 2) {
      if (!IsGoodReference(text.substr(at + 2))) Refuse("a reference to no character");
    }
  }

  std::string_view rest_;
  int depth_ = 0;
  bool rootSeen_ = false;
};

}  // namespace

void ScanXml(std::string_view document) {
  if (!IsXmlText(document)) Refuse("a character that XML lacks");
  Scanner(document).Run();
}

}  // namespace Zelmo
