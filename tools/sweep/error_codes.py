"""With which codes each function is let fail: what the system's own may answer and the agent's way
depends on, or would if it took one for another."""

ACCESS_DENIED, NOT_ENOUGH_MEMORY, FILE_NOT_FOUND, PATH_NOT_FOUND = 5, 8, 2, 3
SHARING_VIOLATION, HANDLE_EOF, DISK_FULL, INSUFFICIENT_BUFFER, MORE_DATA = 32, 38, 112, 122, 234
INVALID_HANDLE, GEN_FAILURE, NOT_SUPPORTED, INVALID_PARAMETER, BROKEN_PIPE = 6, 31, 50, 87, 109
ALREADY_EXISTS, FILE_EXISTS, DIR_NOT_EMPTY, NO_MORE_FILES = 183, 80, 145, 18
ENVVAR_NOT_FOUND, OPERATION_ABORTED, NOTIFY_ENUM_DIR = 203, 995, 1022
NO_MORE_ITEMS, UNKNOWN_PRODUCT, INSTALL_FAILURE, INSTALL_ALREADY_RUNNING = 259, 1605, 1603, 1618
NO_TOKEN, PRIVILEGE_NOT_HELD, NONE_MAPPED, LOGON_FAILURE = 1008, 1314, 1332, 1326
NO_SUCH_DOMAIN, NO_LOGON_SERVERS, TRUST_FAILURE, TIMEOUT = 1355, 1311, 1789, 1460
SERVICE_DOES_NOT_EXIST, SERVICE_DISABLED, SERVICE_RUNNING, SERVICE_LOGON_FAILED = 1060, 1058, 1056, 1069
BUFFER_OVERFLOW, NO_DATA, INVALID_DATA, SHUTDOWN_IN_PROGRESS = 111, 232, 13, 1115
WAIT_ABANDONED, WAIT_IO_COMPLETION, WAIT_TIMEOUT = 128, 192, 258
CONNECTION_REFUSED, CONNECTION_RESET, TIMED_OUT, MESSAGE_TOO_LONG = 10061, 10054, 10060, 10040
NO_BUFFERS, HOST_NOT_FOUND, TRY_AGAIN, NO_RECOVERY = 10055, 11001, 11002, 11003
DNS_NAME_ERROR, DNS_NO_RECORDS, DNS_SERVER_FAILURE = 9003, 9501, 9002
S_FALSE, E_FAIL, E_OUTOFMEMORY, E_INVALIDARG, E_ACCESSDENIED, CHANGED_MODE = (
    1, 0x80004005, 0x8007000E, 0x80070057, 0x80070005, 0x80010106)
E_NOINTERFACE, CLASS_NOT_REGISTERED = 0x80004002, 0x80040154
LDAP_INVALID_CREDENTIALS, LDAP_SERVER_DOWN, LDAP_TIMEOUT, LDAP_NO_MEMORY = 49, 81, 85, 90
LDAP_NO_SUCH_OBJECT = 32

USUAL = (ACCESS_DENIED,)
OF_COM = (E_FAIL,)
CODES = {
    '_wfsopen': (13,),  # an errno, as the runtime library tells it
    '_setmode': (22,),
    'AdjustTokenPrivileges': (ACCESS_DENIED, 1300),
    'AuthzInitializeContextFromSid': (ACCESS_DENIED, NONE_MAPPED),
    'CoCreateInstance': (E_FAIL, CLASS_NOT_REGISTERED),
    'CoInitialize': (S_FALSE, E_OUTOFMEMORY, CHANGED_MODE),
    'CoInitializeEx': (S_FALSE, E_OUTOFMEMORY, CHANGED_MODE),
    'CopyFileW': (ACCESS_DENIED, SHARING_VIOLATION, DISK_FULL),
    'CreateDirectoryW': (ACCESS_DENIED, PATH_NOT_FOUND, ALREADY_EXISTS),
    'CreateFileMappingW': (ACCESS_DENIED, NOT_ENOUGH_MEMORY),
    'CreateFileW': (FILE_NOT_FOUND, PATH_NOT_FOUND, ACCESS_DENIED, SHARING_VIOLATION, FILE_EXISTS,
                    DISK_FULL),
    'CreateMutexW': (ACCESS_DENIED, INVALID_HANDLE),
    'CreateProcessW': (FILE_NOT_FOUND, ACCESS_DENIED, NOT_ENOUGH_MEMORY),
    'CreateSymbolicLinkW': (ACCESS_DENIED, PRIVILEGE_NOT_HELD, ALREADY_EXISTS),
    'CreateThread': (NOT_ENOUGH_MEMORY,),
    'DeleteFileW': (FILE_NOT_FOUND, ACCESS_DENIED, SHARING_VIOLATION),
    'DnsQuery_W': (DNS_NAME_ERROR, DNS_NO_RECORDS, DNS_SERVER_FAILURE, TIMEOUT),
    'DsGetDcNameW': (NO_SUCH_DOMAIN, NO_LOGON_SERVERS, NOT_ENOUGH_MEMORY),
    'ExpandEnvironmentStringsForUserW': (INSUFFICIENT_BUFFER, ACCESS_DENIED),
    'FindFirstFileW': (FILE_NOT_FOUND, PATH_NOT_FOUND, ACCESS_DENIED),
    'FindNextFileW': (NO_MORE_FILES, ACCESS_DENIED),
    'FormatMessageW': (317,),
    'GetAdaptersAddresses': (BUFFER_OVERFLOW, NOT_ENOUGH_MEMORY, NO_DATA),
    'GetAddrInfoW': (HOST_NOT_FOUND, TRY_AGAIN, NO_RECOVERY, NOT_ENOUGH_MEMORY),
    'GetComputerNameExW': (MORE_DATA, ACCESS_DENIED),
    'GetEnvironmentVariableW': (ENVVAR_NOT_FOUND, NOT_ENOUGH_MEMORY),
    'GetFileAttributesW': (FILE_NOT_FOUND, PATH_NOT_FOUND, ACCESS_DENIED),
    'GetFileSecurityW': (INSUFFICIENT_BUFFER, ACCESS_DENIED, FILE_NOT_FOUND),
    'GetNameInfoW': (HOST_NOT_FOUND, TRY_AGAIN),
    'GetOverlappedResult': (ACCESS_DENIED, NOTIFY_ENUM_DIR, OPERATION_ABORTED),
    'GetTcpTable': (INSUFFICIENT_BUFFER, GEN_FAILURE, NO_DATA),
    'GetUdpTable': (INSUFFICIENT_BUFFER, GEN_FAILURE, NO_DATA),
    'GetUserNameExW': (MORE_DATA, NO_SUCH_DOMAIN, NONE_MAPPED),
    'GetFileVersionInfoSizeW': (1812, FILE_NOT_FOUND),
    'InetPtonW': (NO_BUFFERS,),
    'InitiateShutdownW': (ACCESS_DENIED, SHUTDOWN_IN_PROGRESS, INVALID_PARAMETER),
    'LoadLibraryW': (126, ACCESS_DENIED),
    'LoadStringW': (1814, 1815),
    'LogonUserW': (LOGON_FAILURE, NO_LOGON_SERVERS, TRUST_FAILURE, PRIVILEGE_NOT_HELD, 1385),
    'LookupAccountNameW': (NONE_MAPPED, TRUST_FAILURE, INSUFFICIENT_BUFFER),
    'LookupAccountSidW': (NONE_MAPPED, TRUST_FAILURE, INSUFFICIENT_BUFFER),
    'MakeSelfRelativeSD': (INSUFFICIENT_BUFFER, INVALID_PARAMETER),
    'Module32FirstW': (NO_MORE_FILES, ACCESS_DENIED),
    'Module32NextW': (NO_MORE_FILES, ACCESS_DENIED),
    'MsiEnumRelatedProductsW': (NO_MORE_ITEMS, NOT_ENOUGH_MEMORY, 1610),
    'MsiGetProductInfoW': (MORE_DATA, UNKNOWN_PRODUCT, 1608, 1610),
    'MsiInstallProductW': (INSTALL_FAILURE, INSTALL_ALREADY_RUNNING, 1602, 1619),
    'OpenServiceW': (SERVICE_DOES_NOT_EXIST, ACCESS_DENIED),
    'OpenThreadToken': (NO_TOKEN, ACCESS_DENIED),
    'QueryServiceConfigW': (INSUFFICIENT_BUFFER, ACCESS_DENIED),
    'ReadConsoleW': (OPERATION_ABORTED, INVALID_HANDLE),
    'ReadDirectoryChangesW': (ACCESS_DENIED, NOTIFY_ENUM_DIR),
    'ReadFile': (ACCESS_DENIED, BROKEN_PIPE, HANDLE_EOF),
    'RegGetValueW': (FILE_NOT_FOUND, ACCESS_DENIED, MORE_DATA, 1630),
    'RegOpenKeyExW': (FILE_NOT_FOUND, ACCESS_DENIED),
    'RegSetKeyValueW': (FILE_NOT_FOUND, ACCESS_DENIED),
    'RemoveDirectoryW': (DIR_NOT_EMPTY, ACCESS_DENIED, SHARING_VIOLATION),
    'ResumeThread': (ACCESS_DENIED,),
    'RtlIpv4StringToAddressW': (0xC000000D,),
    'RtlIpv6StringToAddressW': (0xC000000D,),
    'SetEntriesInAclW': (INVALID_PARAMETER, NOT_ENOUGH_MEMORY),
    'SHCreateDirectoryExW': (PATH_NOT_FOUND, ACCESS_DENIED, ALREADY_EXISTS, FILE_EXISTS),
    'SHFileOperationW': (FILE_NOT_FOUND, ACCESS_DENIED, 0x75),
    'SHGetKnownFolderPath': (FILE_NOT_FOUND,),
    'StartServiceW': (SERVICE_RUNNING, SERVICE_DISABLED, SERVICE_LOGON_FAILED),
    'SysAllocString': (NOT_ENOUGH_MEMORY,),
    'Thread32First': (NO_MORE_FILES, ACCESS_DENIED),
    'Thread32Next': (NO_MORE_FILES, ACCESS_DENIED),
    'WSAAddressToStringW': (10022,),
    'WSACleanup': (10093,),
    'WSAStartup': (10091, 10092),
    'WaitForMultipleObjects': (INVALID_HANDLE, WAIT_TIMEOUT, WAIT_ABANDONED),
    'WaitForMultipleObjectsEx': (INVALID_HANDLE, WAIT_TIMEOUT, WAIT_ABANDONED, WAIT_IO_COMPLETION),
    'WaitForSingleObject': (INVALID_HANDLE, WAIT_TIMEOUT, WAIT_ABANDONED),
    'WriteFile': (DISK_FULL, ACCESS_DENIED),
    '_wcsdup': (NOT_ENOUGH_MEMORY,),
    'connect': (CONNECTION_REFUSED, TIMED_OUT),
    'ldap_bind_sW': (LDAP_INVALID_CREDENTIALS, LDAP_SERVER_DOWN, LDAP_TIMEOUT),
    'ldap_connect': (LDAP_SERVER_DOWN, LDAP_TIMEOUT),
    'ldap_first_attributeW': (LDAP_NO_MEMORY,),
    'ldap_first_entry': (LDAP_NO_MEMORY,),
    'ldap_get_valuesW': (LDAP_NO_MEMORY,),
    'ldap_initW': (LDAP_SERVER_DOWN, LDAP_NO_MEMORY),
    'ldap_msgfree': (LDAP_NO_MEMORY,),
    'ldap_search_sW': (LDAP_NO_SUCH_OBJECT, LDAP_SERVER_DOWN, LDAP_TIMEOUT),
    'ldap_set_optionW': (LDAP_NO_MEMORY,),
    'ldap_unbind': (LDAP_SERVER_DOWN,),
    'ldap_value_freeW': (LDAP_NO_MEMORY,),
    'recvfrom': (TIMED_OUT, CONNECTION_RESET, MESSAGE_TOO_LONG),
    'sendto': (NO_BUFFERS,),
    'setsockopt': (10042,),
    'socket': (NO_BUFFERS,),
    'INetFwOpenPorts_Item': (0x80070002, E_ACCESSDENIED),
    'INetFwOpenPorts_Add': (E_ACCESSDENIED, E_INVALIDARG),
}
# Interfaces of COM, whose methods answer results of their own kind.
COM_PREFIXES = ('INetFw', 'IShellDispatch_', 'Folder_', 'VariantClear')
# Their manuals know no failure, or nobody can be told of one.
CANNOT_FAIL = {
    'AreAllAccessesGranted', 'CertFreeCertificateContext', 'CoUninitialize', 'DnsFree',
    'FreeAddrInfoW', 'GetCurrentProcess', 'GetCurrentProcessId', 'GetCurrentThread',
    'GetCurrentThreadId', 'GetSystemTimeAsFileTime', 'GetTickCount',
    'GetUserDefaultUILanguage', 'LdapGetLastError', 'MsiSetInternalUI', 'Sleep', 'SysFreeString',
    'SysStringLen', 'VariantInit', 'ber_free', 'ldap_memfreeW'}
# Codes that tell of an event: whoever meets one tries again, and they don't come without end.
NOT_FOREVER = {
    ('GetAdaptersAddresses', BUFFER_OVERFLOW),  # it is asked again until it has what it wants
    ('ReadConsoleW', OPERATION_ABORTED),  # the operator has pressed Ctrl+C
    ('WaitForMultipleObjectsEx', WAIT_ABANDONED), ('WaitForMultipleObjectsEx', WAIT_IO_COMPLETION)}


def codes_of(function):
    """Nothing for a function that can't fail."""
    if function in CANNOT_FAIL:
        return ()
    if function.startswith(COM_PREFIXES) and function not in CODES:
        return OF_COM
    return CODES.get(function, USUAL)
