#pragma once

#include <string>
#include <string_view>

namespace pion::http {

/// \p text with the five characters that mean something in XML replaced by entities.
std::string xml_escape(std::string_view text);

/// The pages of the built-in answers.
std::string bad_request_page();
std::string not_found_page(std::string_view resource);
std::string server_error_page(std::string_view what);

}  // namespace pion::http
