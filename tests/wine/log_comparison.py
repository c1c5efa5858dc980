"""Compares the agent's logs of one migration, under Wine and natively, line by line.

Times, numbers, folders and names that each run has of its own are masked, and what a run says several
times over is taken once. Every difference that is left has its reason in EXPLAINED; one without a reason
is a fault, and so is a reason that nothing is explained by any more.
"""

import difflib
import re
from collections import Counter
from typing import List, NamedTuple, Tuple

HEAD = re.compile(r'\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}Z\| halvard-14510545\| (?=[IWED]: )')
# In this order: numbers are masked last.
MASKS = [
    (re.compile(r'(?i)C:\\users\\(root|administrator)\\(appdata\\local\\)?temp'), '<TEMP>'),
    (re.compile(r'(?i)C:\\users\\(root|administrator)'), '<HOME>'),
    (re.compile(r'(?i)C:\\windows\\system32'), '<SYSTEM>'),
    (re.compile(r"(?<=')KVSOURCE\\(root|Administrator)(?=')"), '<USER>'),
    (re.compile(r'\bmig[0-9A-Fa-f]+\.tmp'), '<LINK>'),
    (re.compile(r'/tmp/sshd-\w{6}'), '<APPLIANCE>'),
    (re.compile(r'\b([0-9A-F]{2}:){19}[0-9A-F]{2}\b'), '<THUMBPRINT>'),
    (re.compile(r'\b0x[0-9A-Fa-f]+'), '<N>'),
    (re.compile(r'\d+'), '<N>'),
]
LONGEST_REPEATED = 8


class Explained(NamedTuple):
    reason: str
    native: Tuple[str, ...] = ()  # lines that are there natively alone, as patterns
    wine: Tuple[str, ...] = ()
    sometimes: bool = False       # not in each pair of runs


# Of a name's addresses, in the functions that look them up.
LOOKUP = ('GetIPAddressesFromHostName|GetAdapterWithMatchingIPAddress|'
          'IsIpSelectionRequiredForMigration')

SMALL_ZIP = (r'I: GetProcessThreads: PID: <N>: <N> thread\(s\) ignoring <N>',
             r'I: WaitForChildThreads: waiting for <N> thread\(s\)',
             r'I: WaitForChildThreads: wait ended: <N>',
             r'W: WaitForChildThreads: failed to open thread: <N>',
             r'E: WaitForChildThreads: wait failed \[<N>\]: .*',
             r'I: ZipDirectory: no thread found, try again in <N>ms \.\.\.',
             r'W: ZipDirectory: Failed to find any threads to monitor',
             r'I: ZipDirectory: The <HOME>.*\.zip file size is: <N> bytes\.')
THUMBPRINT = (r"I: GetJsonProperty: Property 'HV_THUMBPRINT' is not a json object",
              r'I: GetJsonProperty: Json was: <THUMBPRINT>')
POLL = (r'I: (Entering|Leaving) function: .*::PollExportStatus',
        r'I: SetMCLocale: Client locale is already set to: en',
        r'I: ValidatePassedCredentials: Export (is running|finished successfully without any errors)\.',
        r'I: ValidatePassedCredentialsAgainstStoredCredentials: Successfully validated credentials '
        r'against cached credentials\.')

EXPLAINED = [
    Explained('Wine asks DNS for the machine\'s own name, which knows its IPv4 address alone; Windows '
              'takes the addresses of all adapters',
              native=(r'I: CheckHostNameOrAddr: <N> of <N> IPv<N> addresses are on the system .*',
                      r'I: CheckHostNameOrAddr: IPv<N> is consistent and usable',
                      r'I: GetFileVersion: File <SYSTEM>\\dnsapi\.dll has file ver .*',
                      r'E: IsFQDN: IPv<N> FQDN check for kvsource\.corp\.example failed: <N>',
                      r'W: ValidateFqdn: name kvsource\.corp\.example isn\'t a IPv<N> FQDN',
                      r'I: GetIPAddressesFromHostName: Family: \[AF_INET<N>\]',
                      r'W: GetIPAddressesFromHostName: \[fe<N>::.*\] is not a valid IP Address\.'),
              wine=(r'I: CheckHostNameOrAddr: Failed to lookup "kvsource\.corp\.example" as an IPv<N> '
                    r'address or name: <N>',
                    r'I: ValidateFqdn: Check failed for IPv<N> address and name')),
    Explained('GetAddrInfoW of Wine gives an address for each kind of socket, so a name has three '
              'addresses alike',
              wine=(f'I: ({LOOKUP}): .*',)),
    Explained('a thumbprint that begins with a digit reads like a number', native=THUMBPRINT,
              wine=THUMBPRINT, sometimes=True),
    Explained('the installer asks as long as the export takes', native=POLL, wine=POLL,
              sometimes=True),
    Explained('a small zip file is done before its thread is looked at, or before it is seen',
              native=SMALL_ZIP, wine=SMALL_ZIP, sometimes=True),
]


def masked(log: str) -> List[str]:
    lines = []
    for line in log.splitlines():
        text = HEAD.sub('', line)
        for pattern, replacement in MASKS:
            text = pattern.sub(replacement, text)
        lines.append(text)
    return lines


def once(lines: List[str]) -> List[str]:
    """Without what repeats what stands right before it."""
    for length in range(1, LONGEST_REPEATED + 1):
        kept: List[str] = []
        for line in lines:
            kept.append(line)
            if len(kept) >= 2 * length and kept[-length:] == kept[-2 * length:-length]:
                del kept[-length:]
        lines = kept
    return lines


def differences(native: List[str], wine: List[str]) -> Tuple[Counter, Counter]:
    """What stands in the one alone, and in the other. A line that stands elsewhere in the other is
    none: threads of the agent write side by side."""
    removed: Counter = Counter()
    added: Counter = Counter()
    matcher = difflib.SequenceMatcher(a=native, b=wine, autojunk=False)
    for kind, a_from, a_to, b_from, b_to in matcher.get_opcodes():
        if kind != 'equal':
            removed.update(native[a_from:a_to])
            added.update(wine[b_from:b_to])
    return removed - added, added - removed


def unexplained(native: str, wine: str) -> List[str]:
    """Findings, each a line of text; none when all is well."""
    removed, added = differences(once(masked(native)), once(masked(wine)))
    used = set()
    findings = []
    for side, lines in (('native', removed), ('wine', added)):
        for line in lines:
            reasons = [entry.reason for entry in EXPLAINED
                       if any(re.fullmatch(pattern, line) for pattern in getattr(entry, side))]
            used.update(reasons)
            if not reasons:
                findings.append(f'{side} alone: {line}')
    findings += [f'no longer true: {entry.reason}' for entry in EXPLAINED
                 if entry.reason not in used and not entry.sometimes]
    return findings
