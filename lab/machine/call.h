// What every function of the lab begins with.
#pragma once

#include <optional>
#include <string_view>

#include "errhandlingapi.h"

namespace Lab {

/// One call of a Windows function: counted, and failed when the machine's description plans so.
/// Opens the machine if nothing has before.
class Call {
 public:
  /// \param function  The name of the Windows function, to the letter.
  /// \param subject   What the call acts on (a path, a name), so that a fault can pick by it.
  explicit Call(const char* function, std::wstring_view subject = {});

  /// \return The error that is planned for this call; nothing when it's to go its usual way.
  const std::optional<DWORD>& PlannedError() const { return plannedError_; }

  /// For functions that report through the last error: sets it to the planned one.
  /// \return True when the function is to fail now.
  bool FailsByPlan() const;

 private:
  std::optional<DWORD> plannedError_;
};

/// Says on standard error which function was asked for what it can't do, and aborts.
[[noreturn]] void RefuseCall(const char* function, const char* condition);

}  // namespace Lab

/// Stops the program unless the arguments are within what the lab's function really does: a
/// rehearsal that guesses is worse than one that stops. For use inside the function itself.
#define LAB_SUPPORTS(condition)                              \
  do {                                                       \
    if (!(condition)) Lab::RefuseCall(__func__, #condition); \
  } while (false)
