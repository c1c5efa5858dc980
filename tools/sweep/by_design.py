"""Failures that nobody is told of, or that leave something, and why that is right."""

import signal

RELEASE = 'what is given back is of no use any more, and nothing is left to be done'
OTHERWISE = 'the agent goes another way that is as good'
# By function, or by function and the file of the call: the reason.
SILENT = {
    'AuthzFreeContext': RELEASE,
    'AuthzFreeResourceManager': RELEASE,
    'CloseHandle': RELEASE,
    'CloseServiceHandle': RELEASE,
    'DestroyPrivateObjectSecurity': RELEASE,
    'FindClose': RELEASE,
    'FreeLibrary': RELEASE,
    'FreeSid': RELEASE,
    'LocalFree': RELEASE,
    'NetApiBufferFree': RELEASE,
    'RegCloseKey': RELEASE,
    'UnmapViewOfFile': RELEASE,
    'VariantClear': RELEASE,
    'WSACleanup': RELEASE,
    'closesocket': RELEASE,
    'ldap_msgfree': RELEASE,
    'ldap_unbind': RELEASE,
    'ldap_value_freeW': RELEASE,
    'CreateMutexW': 'without it a second instance isn\'t found out, which is no reason not to start',
    'FileTimeToSystemTime': 'the lines of the log lose their times',
    'FormatMessageW': 'a line of the log has the code without its text',
    'GetConsoleWindow': 'the size of the console is a convenience',
    'SetConsoleScreenBufferSize': 'the size of the console is a convenience',
    'SetConsoleWindowInfo': 'the size of the console is a convenience',
    'SetWindowPos': 'the size of the console is a convenience',
    'GetEnvironmentVariableW': 'a variable that can\'t be read is taken as one that isn\'t set, or is',
    'GetModuleFileNameW': 'packages are looked for where the program was started',
    'GetModuleHandleW': 'no module stands for the program itself',
    'GetTcpTable': 'a port that is taken after all is found out when the server starts',
    'GetUdpTable': 'a port that is taken after all is found out when the server starts',
    'FindNextFileW': 'a walk that ends early has found what it has found',
    'Module32NextW': 'a walk that ends early has found what it has found',
    'MsiEnumRelatedProductsW': 'a product that isn\'t found is one that isn\'t installed',
    'ProcessIdToSessionId': 'the temp folder is taken as it is',
    'ResetEvent': OTHERWISE,
    'SetThreadUILanguage': 'texts come in the language that the thread has',
    'Thread32Next': 'a walk that ends early has found what it has found',
    'TerminateJobObject': 'what a child has left stays; the line before it comes in any case',
    'setsockopt': 'blocks go out a little later',
    ('CoInitialize', 'src/transfer/shell_zip.cpp'): 'without COM the next call fails, and says so',
    ('DeleteFileW', 'src/core/startup/initialization.cpp'): 'an old status file is written over',
    ('DeleteFileW', 'src/runner/runner_input.cpp'): 'a file that isn\'t there need not go',
    ('DeleteFileW', 'src/runner/runner_launch.cpp'): 'a file that isn\'t there need not go',
    ('DeleteFileW', 'src/security/certificate.cpp'): 'the file is written over',
    ('DeleteFileW', 'src/transfer/archive_check.cpp'): 'the file is written over',
    ('DeleteFileW', 'src/transfer/export_zip.cpp'): 'a file that stays keeps the next from being made',
    ('DeleteFileW', 'src/transfer/log_bundle.cpp'): 'the copy of the log stays',
    ('DnsQuery_W', 'src/network/fqdn_check.cpp'): 'a name without an address was so before',
    ('DsGetDcNameW', 'src/network/directory_domain.cpp'): 'a machine may well be in no domain',
    ('GetAdaptersAddresses', 'src/network/address_on_system.cpp'):
        'a list that has grown is read anew',
    ('GetAddrInfoW', 'src/network/host_name_check.cpp'): 'level info tells what was looked up in vain',
    ('GetAddrInfoW', 'src/network/name_resolution.cpp'): 'a name without an address was so before',
    ('GetFileAttributesW', 'src/security/existing_path.cpp'):
        'what isn\'t there is looked at as a folder that is to be made',
    ('GetStdHandle', 'src/core/startup/initialization.cpp'):
        'the size of the console is a convenience',
    ('GetTempPathW', 'src/core/temp_directory.cpp'): 'without the folder there is no log to tell it',
    ('INetFwOpenPorts_Item', 'src/security/firewall.cpp'): 'what isn\'t open is opened',
    ('InetPtonW', 'src/network/ip_properties.cpp'): OTHERWISE,
    ('InetPtonW', 'src/network/name_resolution.cpp'): 'what can\'t be read as an address is a name',
    ('InetPtonW', 'src/transfer/ssh_connection.cpp'):
        'what can\'t be read as an IPv6 address is taken for an IPv4 one',
    ('InitiateShutdownW', 'src/host/machine_shutdown.cpp'):
        'what is refused as it was asked for is asked for in another way',
    ('LogonUserW', 'src/service/active_directory_credentials.cpp'):
        'the reply tells it, as it does where the credentials are wrong anyway',
    ('LookupPrivilegeValueW', 'src/host/machine_shutdown.cpp'): 'the shutdown itself says so',
    ('OpenProcessToken', 'src/host/machine_shutdown.cpp'): 'the shutdown itself says so',
    ('AdjustTokenPrivileges', 'src/host/machine_shutdown.cpp'): 'the shutdown itself says so',
    ('OpenThreadToken', 'src/security/path_permissions.cpp'): 'a thread without a token gets one',
    ('ReadConsoleW', 'src/core/console.cpp'): 'a Ctrl+C is no answer, and the prompt goes on',
    ('RegGetValueW', 'src/host/registry.cpp'): 'a line at level info tells of a value that is missing',
    ('RemoveDirectoryW', 'src/host/files.cpp'):
        'a folder that isn\'t empty stays; a line at level info tells it',
    ('WaitForMultipleObjects', 'src/host/threads.cpp'): 'a line at level info tells it',
    ('WaitForMultipleObjectsEx', 'src/runner/status_file_monitor.cpp'):
        'a line at level info tells it',
    ('WaitForSingleObject', 'src/runner/status_file_monitor.cpp'): 'a line at level info tells it',
    ('WaitForSingleObject', 'src/runner/process_monitor.cpp'): 'what may still run is ended',
    ('SetConsoleMode', 'src/core/console.cpp'):
        'a console that doesn\'t get its echo back takes the next answers unseen',
    ('_wfsopen', 'src/core/log_file.cpp'): 'without the file there is no log to tell it',
    ('_wfsopen', 'src/host/files.cpp'): 'the older line has no such file, so it is missing anyway',
}
# By the files of the call and of one of its callers: the reason.
SILENT_FOR = {
    ('src/core/json_files.cpp', 'src/service/export_operations.cpp'):
        'a poll is answered null where the file can\'t be read, as it is before there is one',
    ('src/core/json_files.cpp', 'src/runner/export_phase.cpp'):
        'a runner whose last document can\'t be read has told no result',
}
# What a run may still hold when the function that gives it back has failed.
HANDLES = ('Event', 'File', 'Job', 'Mutant', 'Process', 'Section', 'Snapshot', 'Thread', 'Token')
KEPT = {
    'AuthzFreeContext': ('AuthzClientContext',),
    'AuthzFreeResourceManager': ('AuthzResourceManager',),
    'CloseHandle': HANDLES,
    'CloseServiceHandle': ('ServiceManager', 'Service'),
    'FindClose': ('Find',),
    'RegCloseKey': ('Key',),
    'VariantClear': ('objects',),
    'WSACleanup': ('sockets',),
    'closesocket': ('Socket',),
}
# Lines that come now and then, by how fast the shell's threads are.
BY_CHANCE = ('ZipDirectory: Failed to find any threads to monitor',
             'WaitForChildThreads: failed to open thread: 87', 'WaitForChildThreads: wait failed [87]')
RUNNER_INPUT = 'UpgradeRunnerInput.json'
TEMPORARY_NAME = 'drive_c/mig'
# Pieces of the names of files that stay where they can't be removed, or lie elsewhere.
LEFT = {
    # A file that the system keeps open can't be deleted.
    'CloseHandle': (RUNNER_INPUT, TEMPORARY_NAME),
    # Opening the file is what removes it.
    'CreateFileW': ('UpgradeRunnerPreupgradeOutput.json',),
    'DeleteFileW': (RUNNER_INPUT, TEMPORARY_NAME, 'UpgradeRunnerPreupgradeOutput.json'),
    # A console whose echo can't be turned off shows what is typed, before the agent knows it.
    'GetConsoleMode': ('what was shown',),
    # Whether the files are to be kept is asked of the environment: they are unless it is told no.
    'GetEnvironmentVariableW': (RUNNER_INPUT, 'UpgradeRunnerPreupgradeOutput.json'),
    # The link to a certificate that no server reads stays.
    'GetNameInfoW': (TEMPORARY_NAME,),
    'GetStdHandle': ('what was shown',),
    # The folder in which the agent was started stands for the temp folder.
    'GetTempPathW': ('drive_c/Halvard/',),
    # What is typed behind a prompt that has ended isn't masked any more.
    'ReadConsoleW': ('what was shown',),
    'RemoveDirectoryW': (TEMPORARY_NAME,),
    'SHFileOperationW': ('PythonURExtractDir',),
    'SetConsoleMode': ('what was shown',),
    'SHGetKnownFolderPath': ('Temp/Ostrel-HV-logs-', 'drive_c/Halvard/logs.zip'),
    # An answer that was cut short is written over by the next.
    'WriteFile': ('Temp/keep-history.json',),
}
# Left by whatever keeps a bundle of logs from being made; and by a client that copies the export
# although none has begun, so that it has no folder yet.
LEFT_BY_ANY = ('Temp/kvsMigration/halvard.log', 'Ostrel/Halvard/.zip')
# An agent that is interrupted leaves an export that runs at that time alone, with all that it needs.
OF_AN_EXPORT_FILES = (RUNNER_INPUT, TEMPORARY_NAME)
OF_AN_EXPORT_HANDLES = ('Event', 'Job', 'Process', 'Thread', 'Token')
# So does one that still starts services again behind a failed export.
OF_A_RESTART_HANDLES = (*OF_AN_EXPORT_HANDLES, 'ServiceManager', 'Service')
# Without its handler a key at the console ends the agent as it ends any program.
ENDED_BY_KEY = {'SetConsoleCtrlHandler': -signal.SIGINT}
# A prompt whose text can't be loaded waits for its answer all the same.
ASKS_WITHOUT_A_WORD = ('LoadStringW',)
PROMPT = 'Enter '


def keeps_memory(function):
    """Whether a failure of the function is that something isn't freed."""
    return SILENT.get(function) == RELEASE or function == 'DestroyEnvironmentBlock'


def is_silent(site):
    files = [frame.rsplit(':', 1)[0] for frame in (site.place, *site.frames[1:])]
    return (site.function in SILENT or (site.function, files[0]) in SILENT
            or any((files[0], caller) in SILENT_FOR for caller in files[1:]))


def may_be_left(name, function, export_runs_on):
    """\\param name: of a file, or of its place on the host."""
    excused = LEFT.get(function, ()) + LEFT_BY_ANY
    if export_runs_on:
        excused += OF_AN_EXPORT_FILES
    return any(text in name for text in excused)
