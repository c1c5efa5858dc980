// What a person sees of a reply.
#pragma once

#include <string>

namespace Hvctl {

struct ReplyView {
  std::string output;  ///< For standard output.
  std::string note;    ///< A line for standard error; empty without one.
};

/// Prechecks are shown as a table of what they found. A document of the export is shown as it
/// stands, with a note where the person has to do something, or has to wait. All else, failures and
/// documents in another form included, is shown as it stands.
/// \param operation  As in the request, "poll_export_status".
/// \param reply      The reply document.
ReplyView ViewReply(const std::string& operation, const std::string& reply);

}  // namespace Hvctl
