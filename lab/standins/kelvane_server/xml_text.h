// XML at the level of its characters: what the parser lets pass and a client mustn't write, and the
// escaping of what the server writes.
#pragma once

#include <string>
#include <string_view>

namespace Lab::Kelvane {

/// Refuses bytes that aren't UTF-8, characters that XML 1.0 lacks, a bare & or >, a reference that
/// isn't one of XML's own, and every markup but the declaration at the start and elements:
/// comments, instructions, character data sections, document types. Throws SoapFault.
void CheckXmlText(std::string_view document);

/// \return The text with &, <, >, quotes and carriage returns escaped.
std::string EscapeXml(std::string_view text);

/// \return <name>text</name>
std::string Element(std::string_view name, std::string_view text);

}  // namespace Lab::Kelvane
