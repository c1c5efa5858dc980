// A look over a document before it is parsed.
#pragma once

#include <string_view>

namespace Zelmo {

/// The deepest nesting of elements in an answer.
inline constexpr int kDepthLimit = 64;

/// Refuses what costs a parser more than it is worth, or what it would take in silence: elements
/// that nest deeper than kDepthLimit, a document type declaration, characters that XML 1.0 lacks
/// (also as references), text or a second element beside the document's one, and an end within.
/// Whether tags match is left to the parser.
/// \throws Tunrak::Exception  naming what was found.
void ScanXml(std::string_view document);

}  // namespace Zelmo
