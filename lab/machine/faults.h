// Failures that the description plans for functions: "the third call of RegGetValueW fails with 5".
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Lab {

/// One planned failure. Of several that fit a call the first decides.
struct Fault {
  std::string function{};  ///< Name of the Windows function, to the letter.
  std::uint32_t call = 0;  ///< The one call that fails, counted from 1; 0: see \c from.
  std::uint32_t from = 1;  ///< Without \c call: this call and all later ones fail.
  std::wstring match{};    ///< Only calls whose subject contains this text count; empty: all.
  /// Only calls from this place (CallSiteOf) count; empty: all. With \c from, the call that is due
  /// is only the first to fail: all later ones do too, from wherever they come.
  std::string site{};
  std::uint32_t error = 0;  ///< The error code that the function is to answer.
};

/// Counts the calls of each function in this process and tells which are to fail.
class FaultPlan {
 public:
  explicit FaultPlan(std::vector<Fault> faults);

  /// Counts one call.
  /// \param subject  What the call acts on (a path, a value's name), for Fault::match.
  /// \param site  Where it comes from; needed if there AsksForSite.
  /// \return The error code that is planned for this very call.
  std::optional<std::uint32_t> CountCall(std::string_view function, std::wstring_view subject,
                                         std::string_view site = {});

  /// \return Whether a failure of the function depends on the place of the call.
  bool AsksForSite(std::string_view function) const;

  /// \return How often the function has been called since the machine was opened.
  std::uint32_t Calls(std::string_view function) const;

  /// \return How many calls have failed by plan.
  std::uint32_t Failures() const;

 private:
  struct Planned {
    Fault fault;
    std::uint32_t calls = 0;
    bool hasBegun = false;  ///< From now on all calls fail, whatever their place.

    bool IsDue(std::wstring_view subject, std::string_view site);
  };

  mutable std::mutex mutex_;
  std::vector<Planned> faults_;
  std::uint32_t failures_ = 0;
  std::map<std::string, std::uint32_t, std::less<>> calls_;
};

}  // namespace Lab
