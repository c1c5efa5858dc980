// Names of error values that every client of the framework knows.
#pragma once

namespace Krova {

/// The server failed, or a service broke its contract.
inline constexpr char kInternalServerError[] = "com.ostrel.krova.std.errors.internal_server_error";
/// The input doesn't fit the definition.
inline constexpr char kInvalidArgumentError[] = "com.ostrel.krova.std.errors.invalid_argument";
/// The input has a field too many or lacks one.
inline constexpr char kUnexpectedInputError[] = "com.ostrel.krova.std.errors.unexpected_input";
/// Service or operation unknown.
inline constexpr char kOperationNotFoundError[] = "com.ostrel.krova.std.errors.operation_not_found";
/// A protocol error: the request wasn't understood.
inline constexpr char kInvalidRequestError[] = "invalid_request";
/// The transport failed.
inline constexpr char kSystemError[] = "system_error";

/// Name of the structure that reports progress.
inline constexpr char kProgressStruct[] = "com.ostrel.krova.std.progress";

}  // namespace Krova
