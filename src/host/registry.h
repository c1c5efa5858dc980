// Where the installed products leave their facts: values of the registry, one-line files in a
// folder of the product's configuration, properties of their installer packages. Each operation
// logs its own failures. Without state; safe on any thread.
#pragma once

#include <string>

#include "host/windows_api.h"

namespace Halvard::Host {

/// Reads a string value of at most 2,047 characters. References to environment variables in it
/// stay as they are.
/// \param[out] text  The value on success, else untouched.
/// \return False when the value is missing, too long or of another type.
bool ReadRegistryString(HKEY hive, const std::wstring& keyPath, const std::wstring& valueName,
                        std::wstring& text);

/// Writes a string value. The key has to exist; it is never created.
bool SetRegistryString(HKEY hive, const std::wstring& keyPath, const std::wstring& valueName,
                       const std::wstring& text);

/// Finds the configuration folder of the installed product: the one that the system variable
/// OSTREL_CFG_DIR names, else the one below the product's application data.
/// \param[out] path  Without a trailing backslash, unless the variable has one. Untouched on
///                   failure.
bool GetPdtConfigDirPath(std::wstring& path);

/// Finds the folder that holds one file for each parameter that the product was installed with.
/// \param[out] path  With a trailing backslash. Untouched on failure.
bool GetInstallDefaultsDirPath(std::wstring& path);

/// \param name  Name of a parameter that the product was installed with; the name of its file too.
/// \return Its value, which is the first line of the file. Empty when it can't be read.
std::wstring GetInstallParameter(const std::wstring& name);

/// \param upgradeCode  In braces.
/// \return Product code of the first installed product with this upgrade code. Empty when there is
///         none.
std::wstring GetProductCodeFromUpgradeCode(const std::wstring& upgradeCode);

/// \param propertyName  A property of installed products, such as "VersionString".
/// \return The property of the first installed product with this upgrade code. Empty when there is
///         no such product, or when it lacks the property.
std::wstring GetInstallPropertyFromUpgradeCode(const std::wstring& upgradeCode,
                                               const std::wstring& propertyName);

}  // namespace Halvard::Host
