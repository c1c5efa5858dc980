#!/usr/bin/env python3
"""The conformance tests of DNS answers under Wine, in a network of their own in which a real server
knows their names. It takes the rights of root, and a host that permits such networks."""

import subprocess
import sys
import tempfile
import time
from pathlib import Path

from wine_machine import BUILD, Machine

SKIPPED = 77  # what CTest takes for a test that chose not to run
DNSMASQ = '/usr/sbin/dnsmasq'
IP = '/usr/sbin/ip'
UNSHARE = ['/usr/bin/unshare', '--net', '--mount']


def skip(reason: str) -> int:
    # In the words that the sum of all tests looks for.
    print(f'dns_answers_test.py: Skipped\n{reason}\n[  SKIPPED ] DnsAnswers')
    return SKIPPED


def run(*command) -> None:
    subprocess.run(command, check=True)


def start_server(folder: Path) -> subprocess.Popen:
    """The names are those of WindowsApi::KnowConformanceNames."""
    many = ''.join(f'192.0.2.{i} many.example\n' for i in range(1, 101))
    hosts = folder / 'hosts'
    hosts.write_text('192.0.2.1 kv.example\n2001:db8::1 kv.example\n'
                     f'2001:db8::6 six.example\n{many}', encoding='ascii')
    return subprocess.Popen([
        DNSMASQ, '--no-daemon', '--conf-file=/dev/null', '--no-resolv', '--no-hosts',
        '--listen-address=127.0.0.1', '--bind-interfaces', '--local=/example/',
        '--cname=alias.example,kv.example', f'--addn-hosts={hosts}', '--pid-file='])


def wait_for_server(server: subprocess.Popen) -> None:
    """Sockets of the network are all this test's own."""
    for _ in range(1000):
        listening = subprocess.run(['/usr/bin/cat', '/proc/net/tcp'], check=True,
                                   stdout=subprocess.PIPE).stdout
        if b':0035 ' in listening:
            return
        if server.poll() is not None:
            break
        time.sleep(0.01)
    raise AssertionError('dnsmasq does not listen')


def run_tests_inside() -> int:
    run(IP, 'link', 'set', 'lo', 'up')
    with tempfile.TemporaryDirectory() as name:
        folder = Path(name)
        (folder / 'resolv.conf').write_text('nameserver 127.0.0.1\n', encoding='ascii')
        run('/usr/bin/mount', '--bind', folder / 'resolv.conf', '/etc/resolv.conf')
        server = start_server(folder)
        machine = Machine('DnsAnswers')
        try:
            wait_for_server(server)
            tests = machine.run(BUILD / 'tests' / 'windows_api_tests.exe',
                                '--gtest_filter=DnsAnswers.*',
                                variables={'CONFORMANCE_NAMES': 'known'})
        finally:
            machine.remove()
            server.terminate()
            server.wait()
    print(tests.console)
    return tests.exit_code


def main() -> int:
    if sys.argv[1:] == ['inside']:
        return run_tests_inside()
    if not Path(DNSMASQ).exists():
        return skip("Debian's package dnsmasq-base isn't installed")
    if subprocess.run([*UNSHARE, '/usr/bin/true'], check=False,
                      stderr=subprocess.DEVNULL).returncode != 0:
        return skip('the host permits no private network')
    return subprocess.run([*UNSHARE, sys.executable, __file__, 'inside'], check=False).returncode


if __name__ == '__main__':
    sys.exit(main())
