// What holds of lists of texts, whatever their pieces are.
#include <algorithm>
#include <vector>

// rapidcheck leaves including gtest to its user.
#include <gtest/gtest.h>

#include <rapidcheck/gtest.h>

#include "core/text.h"

namespace Halvard {
namespace {

/// Few letters and short texts, so that equal pieces and separators side by side are common.
rc::Gen<std::wstring> Texts(std::wstring_view letters, int length) {
  return rc::gen::container<std::wstring>(length, rc::gen::elementOf(std::wstring(letters)));
}

std::vector<std::wstring> AnyPieces() {
  const int count = *rc::gen::inRange(0, 8);
  std::vector<std::wstring> pieces;
  for (int i = 0; i < count; ++i) pieces.push_back(*Texts(L"abA. \u00E4", *rc::gen::inRange(1, 4)));
  return pieces;
}

RC_GTEST_PROP(TextListProperties, SplittingUndoesJoiningOfPiecesThatAreNotEmpty, ()) {
  const std::vector<std::wstring> pieces = AnyPieces();
  RC_ASSERT(SplitString(JoinStrings(pieces, L","), L',') == pieces);
}

RC_GTEST_PROP(TextListProperties, NoPieceIsEmptyOrHoldsTheSeparator, ()) {
  const std::wstring text = *Texts(L",ab", *rc::gen::inRange(0, 12));
  for (const std::wstring& piece : SplitString(text, L',')) {
    RC_ASSERT(!piece.empty());
    RC_ASSERT(piece.find(L',') == std::wstring::npos);
  }
}

RC_GTEST_PROP(TextListProperties, JoinedPiecesAreTheTextWithoutSpareSeparators, ()) {
  const std::wstring text = *Texts(L",ab", *rc::gen::inRange(0, 12));
  std::wstring letters = text;
  std::erase(letters, L',');
  RC_ASSERT(JoinStrings(SplitString(text, L','), L"") == letters);
}

RC_GTEST_PROP(TextListProperties, ASetHasEachPieceOnceAndInOrder, ()) {
  const std::vector<std::wstring> pieces = AnyPieces();
  std::vector<std::wstring> sorted = pieces;
  std::ranges::sort(sorted);
  sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
  RC_ASSERT(JoinSet(SplitToSet(JoinStrings(pieces, L","), L','), L",") ==
            JoinStrings(sorted, L","));
}

}  // namespace
}  // namespace Halvard
