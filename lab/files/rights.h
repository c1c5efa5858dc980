// What the user of the machine may do that others mayn't, and who gets at a file.
#pragma once

#include <filesystem>
#include <string>

namespace Lab {

/// \return True when the agent runs with the rights of the Administrators group: it may make
///         symbolic links and files in the root of a drive.
bool IsElevatedAdministrator();

/// The access list that a new file gets, in the system's own text form: "D:P(A;;FA;;;BA)". Folders
/// of a machine have no lists; each hands on what the folders of a user's profile do, full access
/// for SYSTEM, Administrators and the user, to every file that isn't protected against it.
/// \param descriptor  Self-relative, with a list of one or no entry that grants rights; null for
///                    none.
std::string AccessListOfNewFile(const void* descriptor);

/// Keeps the list with a file of the host. A file system without room for it forgets it, as FAT
/// does.
void KeepAccessList(int descriptor, const std::string& list);

/// \return The list of a file at a place of the host.
std::string AccessListOf(const std::filesystem::path& place);

}  // namespace Lab
