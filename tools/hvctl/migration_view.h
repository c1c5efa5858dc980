// What a person, or a program, sees of a migration while it runs.
#pragma once

#include <memory>
#include <ostream>
#include <string>

#include "migration_settings.h"

namespace Hvctl {

/// Texts are UTF-8; what a terminal would obey in them is taken out here.
class MigrationView {
 public:
  virtual ~MigrationView() = default;

  /// \param name  For programs: "prechecks". \param title  For persons.
  virtual void BeginStep(const std::string& name, const std::string& title) = 0;
  /// Tells something of the step, in one line or several.
  virtual void Tell(const std::string& text) = 0;
  /// How far the step is, from 0 to 100, and what it does.
  virtual void ShowProgress(int percent, const std::string& message) = 0;
  /// The step has ended well.
  virtual void EndStep() = 0;
};

/// \param form      Not kAuto.
/// \param output  Has to outlive the view.
std::unique_ptr<MigrationView> MakeMigrationView(ProgressForm form, std::ostream& output);

/// \return \p text with a blank for each character that a terminal would obey, but for line ends.
std::string Harmless(std::string text);

}  // namespace Hvctl
