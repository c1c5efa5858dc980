// Whom an operation has asked as whom, as its lines in the log tell it.
#pragma once

#include <cstdint>
#include <string>

#include "core/wide_format.h"
#include "tunrak/exception.h"

namespace Halvard::ServerClient {

class Destination {
 public:
  /// A line with places for host, port, tunnel path and user, in this order.
  using Line = WideFormat<const wchar_t*, std::int32_t, const wchar_t*, const wchar_t*>;
  /// A line with a place for the reason.
  using ReasonLine = WideFormat<const wchar_t*>;

  /// All texts in UTF-8.
  Destination(const std::string& host, std::int32_t port, const std::string& tunnelPath,
              const std::string& user);

  void LogSuccess(const Line& line) const;

  /// Warns of what has failed, and then of whom it concerned.
  void LogFailure(const Tunrak::Exception& failure, const ReasonLine& reason,
                  const Line& line) const;

 private:
  std::wstring host_;
  std::int32_t port_;
  std::wstring tunnelPath_;
  std::wstring user_;
};

}  // namespace Halvard::ServerClient
