// Texts that may show nowhere: where files and processes have them all the same.
#pragma once

#include <string>
#include <vector>

#include "support/lab_instance.h"

namespace Lab {

/// Looks for texts in names and bytes of all that lies on a machine, and beside it: as UTF-8, as
/// wide text of both widths, and unpacked where it lies in a zip file. The machine's description
/// doesn't count: it knows the passwords of accounts as a domain controller does.
/// \param secrets  Of ASCII.
/// \return One line for each file that has one, "PATH shows SECRET"; the path as the host has it.
std::vector<std::string> PlacesOf(const std::vector<std::string>& secrets, const Instance& machine);

/// Looks for the texts in command line and environment of each process of the host.
/// \return "PATH shows SECRET", where the path is one of /proc.
std::vector<std::string> ProcessesThatShow(const std::vector<std::string>& secrets);

}  // namespace Lab
