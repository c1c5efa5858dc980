// The Windows API as far as the agent calls it.
#pragma once

#include <minwindef.h>
#include <winnt.h>

#include <guiddef.h>
#include <minwinbase.h>
#include <winerror.h>

#include <combaseapi.h>
#include <errhandlingapi.h>
#include <fileapi.h>
#include <handleapi.h>
#include <ioapiset.h>
#include <jobapi2.h>
#include <libloaderapi.h>
#include <memoryapi.h>
#include <processenv.h>
#include <processthreadsapi.h>
#include <securitybaseapi.h>
#include <stringapiset.h>
#include <synchapi.h>
#include <sysinfoapi.h>
#include <timezoneapi.h>
#include <winbase.h>
#include <wincon.h>
#include <winnls.h>
#include <winreg.h>
#include <winsvc.h>
#include <winuser.h>

#include <crt.h>
