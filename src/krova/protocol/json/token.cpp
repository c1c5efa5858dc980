#include "krova/protocol/json/token.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace Krova::Protocol::Json {
namespace {

constexpr std::array<const char*, 10> kTokenWords = {"null",     "bool",     "long",   "double",
                                                     "string",   "startObj", "endObj", "startArray",
                                                     "endArray", "_UNKNOWN"};

constexpr std::array<std::string_view, 11> kFieldWords = {
    "jsonrpc", "id",  "method", "params",      "serviceId", "operationId",
    "input",   "ctx", "appCtx", "securityCtx", "_UNKNOWN"};

constexpr std::array<std::string_view, 2> kMethodWords = {"invoke", "_UNKNOWN"};

/// \return The ordinal of \p word, that of the table's last row if it isn't there.
template <std::size_t kSize>
std::size_t FindWord(const std::array<std::string_view, kSize>& words, std::string_view word) {
  const auto* const last = words.end() - 1;
  return static_cast<std::size_t>(std::find(words.begin(), last, word) - words.begin());
}

}  // namespace

const char* TokenWord(Token token) {
  return kTokenWords[std::min<std::size_t>(static_cast<std::size_t>(token), 9)];
}

RequestField FindRequestField(std::string_view word) {
  return static_cast<RequestField>(FindWord(kFieldWords, word));
}

Method FindMethod(std::string_view word) {
  return static_cast<Method>(FindWord(kMethodWords, word));
}

}  // namespace Krova::Protocol::Json
