// The one umbrella of Windows headers. In the native build the headers of the same names come
// from the lab and hold the slice of the Windows API that the agent calls.
#pragma once

// winsock2.h has to come before windows.h.
#include <winsock2.h>
#include <ws2tcpip.h>

#include <windows.h>

#include <dsgetdc.h>
#include <fcntl.h>
#include <io.h>
#include <iphlpapi.h>
#include <knownfolders.h>
#include <lm.h>
#include <msi.h>
#include <msiquery.h>
#include <security.h>
#include <share.h>
#include <shellapi.h>
#include <shldisp.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <tlhelp32.h>
#include <userenv.h>
#include <windns.h>
#include <winldap.h>
#include <winver.h>

// winber.h wants the types of winldap.h.
#include <winber.h>

// The system's names for certificate fields would take the place of OpenSSL's types.
#undef X509_NAME
#undef X509_EXTENSIONS
#undef PKCS7_SIGNER_INFO
#undef OCSP_REQUEST
#undef OCSP_RESPONSE
