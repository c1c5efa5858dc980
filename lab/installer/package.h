// An installer package: a database of tables, with the files of the product in cabinets.
#pragma once

#include <gio/gio.h>
#include <libmsi.h>

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "installer/gobject_owner.h"

namespace Lab {

/// The file isn't a package.
class NoPackageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The package is damaged, or something in the way of unpacking it.
class InstallError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The package wants more than the lab's installer can do.
class UnsupportedError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Package {
 public:
  enum class Mode { kRead, kChange };

  /// \throw NoPackageError
  Package(const std::filesystem::path& file, Mode mode);

  /// The values of one row in the order of the columns; numbers as decimal text, null as "".
  using Row = std::vector<std::string>;

  /// \return The rows of a table; none when the package lacks the table.
  /// \throw InstallError for a table without one of the columns.
  std::vector<Row> Rows(const std::string& table, const std::vector<std::string>& columns) const;

  /// \return A stream of the package by its name, such as a cabinet.
  /// \throw InstallError when there is none.
  ObjectOwner<GInputStream> Stream(const std::string& name) const;

  /// Changes a package that was opened for it into that of an administrative image: without the
  /// cabinets, and marked as one whose files lie beside it. \throw InstallError
  void BecomeImage(const std::vector<std::string>& cabinets);

 private:
  void Run(const std::string& query);
  void MarkAsImage();

  ObjectOwner<LibmsiDatabase> database_;
};

}  // namespace Lab
