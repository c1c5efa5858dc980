// Names of the user that runs the program.
#pragma once

#include <minwindef.h>
#include <winnt.h>

enum EXTENDED_NAME_FORMAT { NameUnknown = 0, NameFullyQualifiedDN = 1, NameSamCompatible = 2 };

BOOLEAN WINAPI GetUserNameExW(EXTENDED_NAME_FORMAT format, LPWSTR name, PULONG nameLength);
