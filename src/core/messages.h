// Messages for the operator and for remote clients, from the program's string tables.
//
// The console shows a message in the machine's language, the log in "en", a reply in the client's.
#pragma once

#include <string>
#include <vector>

namespace Halvard {

/// \param id  A message of the string tables.
/// \return The message in the calling thread's language. Each "[0]", "[1]" ... is replaced once, in
///         this order, by the argument of that place; tokens without an argument stay. Empty, with
///         an error line in the log, when there is no such message.
std::wstring GetLocalizedString(unsigned int id);
std::wstring GetLocalizedString(unsigned int id, const std::wstring& argument);
std::wstring GetLocalizedString(unsigned int id, const std::wstring& first,
                                const std::wstring& second);
std::wstring GetLocalizedString(unsigned int id, const std::vector<std::wstring>& arguments);

/// The same in a given language.
/// \param locale  A supported locale name such as "en" or "zh_CN", in UTF-8; for any other name
///                the message is English.
std::wstring GetLocalizedStringIn(unsigned int id, const std::string& locale);
std::wstring GetLocalizedStringIn(unsigned int id, const std::wstring& argument,
                                  const std::string& locale);
std::wstring GetLocalizedStringIn(unsigned int id, const std::vector<std::wstring>& arguments,
                                  const std::string& locale);

}  // namespace Halvard
