// The findings of the prechecks, for a person.
#pragma once

#include <string>

#include <json/value.h>

namespace Hvctl {

/// \param components  What the exporting program found, by component, in whatever form.
/// \return A table of severity, component and text, in the order of the document, with each
///         resolution below its text; behind it how many errors and warnings there are. Lines end
///         with a line end.
std::string FindingsTable(const Json::Value& components);

/// \return How many of the findings stop a migration.
int ErrorsAmong(const Json::Value& components);

}  // namespace Hvctl
