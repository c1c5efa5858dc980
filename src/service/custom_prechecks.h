// A prepared document in place of the prechecks' results.
#pragma once

#include "service/operation_call.h"

namespace Halvard::MigratorSvc {

/// Answers a precheck operation with the document that HV_CUSTOM_PRECHECKS_JSON names, whatever it
/// holds. It isn't looked at: it need not have a `result`.
/// \return False, with the reply empty, when the variable isn't set, or after a warning in the log
///         when there is no such document.
bool AnswerFromCustomPrechecks(OperationCall& call);

}  // namespace Halvard::MigratorSvc
