// The one form in which the framework reports a fault, and the tables of its texts.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Krova {

/// One reported fault. The template stays unfilled: id, template and arguments travel as they are
/// and the reader formats them, so there may be fewer arguments than places.
struct BaseMessage {
  std::string id;
  std::string default_message;    ///< English template with the places "%1%", "%2%" and so on.
  std::vector<std::string> args;  ///< UTF-8 by convention; input that is echoed isn't checked.

  bool operator==(const BaseMessage&) const = default;
};

/// What an operation appends its faults to, in the order in which they were found.
using MessageList = std::vector<BaseMessage>;

/// A row of a message table. The last row of a table holds two nulls.
struct MessageRow {
  const char* id;
  const char* text;
};

extern const MessageRow kFrameworkMessages[];
extern const MessageRow kJsonProtocolMessages[];

/// \param table  Searched from its start, by exact comparison.
/// \return The template of \p id, or "Unknown message." for an id that isn't in the table.
const char* FindMessageText(const MessageRow* table, std::string_view id);

namespace Detail {

BaseMessage BuildMessage(const MessageRow* table, std::string_view id,
                         std::vector<std::string> args);

template <typename... Args>
std::vector<std::string> ToArguments(Args&&... args) {
  std::vector<std::string> list;
  list.reserve(sizeof...(args));
  (list.emplace_back(std::forward<Args>(args)), ...);
  return list;
}

}  // namespace Detail

/// Makes a message with a text from the framework's table.
/// \param args  Texts for the places of the template, from the first on.
template <typename... Args>
BaseMessage MakeMessage(std::string_view id, Args&&... args) {
  return Detail::BuildMessage(kFrameworkMessages, id,
                              Detail::ToArguments(std::forward<Args>(args)...));
}

/// The same with a text from the table of the JSON protocol.
template <typename... Args>
BaseMessage MakeJsonProtocolMessage(std::string_view id, Args&&... args) {
  return Detail::BuildMessage(kJsonProtocolMessages, id,
                              Detail::ToArguments(std::forward<Args>(args)...));
}

}  // namespace Krova
