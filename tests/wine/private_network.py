"""A network of its own for a test: one adapter, as the lab's machines describe theirs, a DNS server, and
addresses behind which servers of this host are. It takes the rights of root and a host that permits it.
"""

import contextlib
import os
import socket
import subprocess
import sys
import tempfile
import threading
import time
from pathlib import Path

DNSMASQ = '/usr/sbin/dnsmasq'
IP = '/usr/sbin/ip'
UNSHARE = ['/usr/bin/unshare', '--net', '--mount', '--uts']
PATIENCE_SECONDS = 30


def why_not():
    """Why there can be none; empty where there can."""
    if not Path(DNSMASQ).exists():
        return 'Debian\'s package dnsmasq-base isn\'t installed'
    tried = subprocess.run([*UNSHARE, IP, 'link', 'add', 'eth0', 'type', 'veth', 'peer',
                            'name', 'cable'],
                           check=False, capture_output=True)
    return '' if tried.returncode == 0 else 'the host permits no private network'


def run_inside(*arguments):
    """Runs this very program again, in a network with nothing in it. Returns its exit code."""
    return subprocess.run([*UNSHARE, sys.executable, sys.argv[0], 'inside', *arguments],
                          check=False).returncode


def run(*command):
    subprocess.run(command, check=True)


class PrivateNetwork:
    """Of a program that run_inside has started. `machine` is the description of a lab machine."""

    def __init__(self, machine):
        self._exit = contextlib.ExitStack()
        self._folder = Path(self._exit.enter_context(tempfile.TemporaryDirectory()))
        self._adapter = machine['adapters'][0]
        self._make_adapter()
        run('/usr/bin/hostname', machine['computer']['name'].lower())
        self._start_dns(machine['dns']['names'])

    def __enter__(self):
        return self

    def __exit__(self, *_exception):
        self._exit.close()

    def _make_adapter(self):
        # The other end of the cable is on a computer of which nothing is asked.
        other = subprocess.Popen(['/usr/bin/unshare', '--net', '/usr/bin/sleep', 'infinity'])
        self._exit.callback(other.wait)
        self._exit.callback(other.kill)
        run(IP, 'link', 'set', 'lo', 'up')
        run(IP, 'link', 'add', 'eth0', 'address', self._adapter['mac'].lower(), 'type', 'veth',
            'peer', 'name', 'cable')
        run(IP, 'link', 'set', 'eth0', 'addrgenmode', 'none')
        wait_for_own_network(other.pid)
        run(IP, 'link', 'set', 'cable', 'netns', str(other.pid))
        run('/usr/bin/nsenter', '-t', str(other.pid), '-n', IP, 'link', 'set', 'cable', 'up')
        run(IP, 'link', 'set', 'eth0', 'up')
        for entry in self._adapter['addresses']:
            address = entry['address'].partition('%')[0]
            length = entry.get('prefixLength', 64 if ':' in address else 24)
            # Nobody else can have the address.
            run(IP, 'address', 'add', f'{address}/{length}', 'dev', 'eth0',
                *(['nodad'] if ':' in address else []))
        for gateway in self._adapter['gateways']:
            run(IP, 'route', 'add', 'default', 'via', gateway)

    def _start_dns(self, names):
        server = self._adapter['dnsServers'][0]
        self.add_host(server)
        (self._folder / 'resolv.conf').write_text(
            f'nameserver {server}\nsearch {self._adapter["dnsSuffix"]}\n', encoding='ascii')
        (self._folder / 'hosts').write_text(
            ''.join(f'{record["value"]} {name}\n' for name, records in names.items()
                    for record in records), encoding='ascii')
        (self._folder / 'no hosts').write_text('127.0.0.1 localhost\n::1 localhost\n',
                                               encoding='ascii')
        run('/usr/bin/mount', '--bind', self._folder / 'resolv.conf', '/etc/resolv.conf')
        run('/usr/bin/mount', '--bind', self._folder / 'no hosts', '/etc/hosts')
        process = subprocess.Popen([
            DNSMASQ, '--no-daemon', '--conf-file=/dev/null', '--no-resolv', '--no-hosts',
            '--port=53', '--local=/example/', '--local=/in-addr.arpa/', '--local=/ip6.arpa/',
            f'--addn-hosts={self._folder / "hosts"}', '--pid-file='], stderr=subprocess.DEVNULL)
        self._exit.callback(process.wait)
        self._exit.callback(process.terminate)
        wait_until(lambda: listens(53), 'dnsmasq')

    def add_host(self, address):
        """Another computer of this address, which is really this one. No adapter shows it."""
        run(IP, 'route', 'add', 'local', address, 'dev', 'lo', 'table', 'local')

    def forward(self, address, port, target):
        """Hands connections on to `target`, as "127.0.0.1:20022"."""
        family = socket.AF_INET6 if ':' in address else socket.AF_INET
        listener = socket.create_server((address, port), family=family)
        self._exit.callback(listener.close)
        host, _, number = target.rpartition(':')
        threading.Thread(target=hand_on, args=(listener, (host, int(number))), daemon=True).start()


def wait_until(condition, what):
    end = time.monotonic() + PATIENCE_SECONDS
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f'{what} takes too long')
        time.sleep(0.01)


def wait_for_own_network(process):
    own = os.readlink('/proc/self/ns/net')
    wait_until(lambda: os.readlink(f'/proc/{process}/ns/net') != own, 'unshare')


def listens(port):
    """Sockets of the network are all this test's own."""
    sockets = Path('/proc/net/tcp').read_text(encoding='ascii')
    return f':{port:04X} 00000000:0000 0A' in sockets


def hand_on(listener, target):
    with contextlib.suppress(OSError):
        while True:
            client, _ = listener.accept()
            try:
                server = socket.create_connection(target)
            except OSError:
                client.close()
                continue
            for pair in ((client, server), (server, client)):
                threading.Thread(target=pump, args=pair, daemon=True).start()


def pump(source, sink):
    """Until the source says no more, which the sink is told."""
    with contextlib.suppress(OSError):
        while piece := source.recv(1 << 16):
            sink.sendall(piece)
    with contextlib.suppress(OSError):
        sink.shutdown(socket.SHUT_WR)
