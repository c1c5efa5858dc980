// Who gets at a file: the access lists of files that were made with one.
#pragma once

#include <filesystem>
#include <string>

namespace Lab {

/// The access list that a new file gets, in the system's own text form: "D:P(A;;FA;;;BA)". Wherever
/// it is made, it is handed on what the folders of a user's profile hand on, full access for
/// SYSTEM, Administrators and the user, unless it is protected against that. \param descriptor
/// Self-relative, with a list and nothing else; null for none.
std::string AccessListOfNewFile(const void* descriptor);

/// Keeps the list with a file of the host. A file system without room for it forgets it, as FAT
/// does.
void KeepAccessList(int descriptor, const std::string& list);

/// \return The list of a file at a place of the host.
std::string AccessListOf(const std::filesystem::path& place);

}  // namespace Lab
