// Languages of the user and of threads.
#pragma once

#include <minwindef.h>
#include <winnt.h>

LANGID WINAPI GetUserDefaultUILanguage();
LANGID WINAPI SetThreadUILanguage(LANGID language);
