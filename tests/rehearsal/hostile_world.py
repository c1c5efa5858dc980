"""Machines whose servers speak through lines that can be mangled, and an agent on one of them."""

import base64
import ctypes
import io
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time
import types
from pathlib import Path

from api_client import Client
from hostile_datagrams import DatagramServer, name_answer, time_answer
from installer import host_of
from lab_machine import AGENT_FOLDER
from lying_ssh_server import LyingSshServer
from mangled_line import MangledLine, make_certificate
from narrator import Narrator
from processes import Agent
from world import ADMINISTRATOR, APPLIANCE, APPLIANCE_ADDRESS, Settings, World

HERE = Path(__file__).resolve().parent
NEW_NETWORK = 0x40000000
CLOCK_SPEED = 20
SETTLE_SECONDS = 10
DNS_SERVER, TIME_NAME = '192.0.2.53', 'time.corp.example'
TIME_ADDRESSES = ('192.0.2.123', '2001:db8::123')
NAMES = {APPLIANCE: APPLIANCE_ADDRESS, TIME_NAME: TIME_ADDRESSES[0],
         'kvsource.corp.example': '192.0.2.10'}
TIME_SERVICE = r'HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Services\W32Time\Parameters'


def have_own_network():
    """From now on this process and its children have a network in which nobody else is: whatever a
    mangled answer names can't be reached. Returns whether the host permits it."""
    libc = ctypes.CDLL(None, use_errno=True)
    if libc.unshare(NEW_NETWORK) != 0:
        return False
    return subprocess.run(['ip', 'link', 'set', 'lo', 'up'], check=False).returncode == 0


class HostileWorld(World):
    """Everything is in order until a line, a server or a file is made to lie."""

    def __init__(self, programs_folder, kind, source):
        self._folder = Path(tempfile.mkdtemp(prefix='hostile-'))
        scratch = self._folder / 'scratch'
        scratch.mkdir()
        self.lines = {}
        self.thumbprint = None  # of the appliance that there is
        self._certificate = scratch / 'line.pem'
        make_certificate(self._certificate)
        self.names = DatagramServer(lambda query: name_answer(query, NAMES))
        self.time = DatagramServer(time_answer)
        self.appliance_in_place = LyingSshServer()
        self.scp_seed = self._empty_file('scp-seed')
        self.runner_orders = self._empty_file('runner-orders')
        options = types.SimpleNamespace(type=kind, source=source, locale='en', export_size=1 << 16)
        super().__init__(Settings(options), programs_folder, self._folder / 'machine', scratch,
                         Narrator(io.StringIO()))
        try:
            self._start_all()
        except Exception:
            self.end()
            raise

    def end(self):
        super().end()
        for each in (*self.lines.values(), self.names, self.time, self.appliance_in_place):
            each.end()
        shutil.rmtree(self._folder, ignore_errors=True)

    def tell_the_truth(self):
        for each in (*self.lines.values(), self.names, self.time):
            each.arm(None)
        self.lines['lab-sshd'].lead_to(None)
        self.thumbprint = self.appliance.facts['thumbprints']['rsa']
        for file in (self.scp_seed, self.runner_orders):
            file.write_text('', encoding='ascii')

    def replace_appliance(self, chance):
        """By one whose messages may be any."""
        self.appliance_in_place.arm(chance)
        self.lines['lab-sshd'].lead_to(self.appliance_in_place.port)
        self.thumbprint = self.appliance_in_place.thumbprint

    def order_runner(self, documents, code):
        """What the next runners write, one after the other, and end with."""
        order = {'documents': [base64.b64encode(document).decode() for document in documents],
                 'exit': code}
        self.runner_orders.write_text(json.dumps(order), encoding='ascii')

    def _empty_file(self, name):
        file = self._folder / 'scratch' / name
        file.write_text('', encoding='ascii')
        return file

    def _start(self, program, arguments):
        """The server's facts are those of the line to it."""
        standin = super()._start(program, arguments)
        line = self.lines[program] = MangledLine(standin.facts['port'], self._certificate)
        standin.facts.update(port=line.port, address=line.address)
        return standin

    def _start_all(self):
        self.settings.sshd = ['--option', f'ForceCommand {sys.executable} -B {HERE}/remote_scp.py '
                              f'{self.scp_seed}']
        if self.settings.type != 'infrastructure':
            self.start_server()
        self.start_directory()
        self.start_appliance()
        self.tell_the_truth()
        self.settings.patch = {'clock': {'speed': CLOCK_SPEED}, 'dns': {'names': None,
                               'server': DNS_SERVER}, 'addressMap': self._own_addresses(),
                               'programs': {'python.exe': str(self._runner())}}
        self.describe_machine()
        for name, value in (('Type', 'NTP'), ('NtpServer', ' '.join((TIME_NAME, *TIME_ADDRESSES)))):
            self.machine.add_to_registry(TIME_SERVICE, name, value)

    def _own_addresses(self):
        addresses = {f'{DNS_SERVER}:53': f'127.0.0.1:{self.names.port}'}
        for address, host in zip(TIME_ADDRESSES, ('127.0.0.1', '[::1]')):
            known = f'[{address}]' if ':' in address else address
            addresses[f'{known}:123'] = f'{host}:{self.time.port}'
        return addresses

    def _runner(self):
        program = self._folder / 'scratch' / 'runner'
        program.write_text(f'#!/bin/sh\nexec {sys.executable} -B {HERE}/hostile_runner.py '
                           f'{self.runner_orders} "$@"\n', encoding='utf-8')
        program.chmod(0o755)
        return program


class HostileScenario:
    """One agent that serves, asked in order, and looked at behind each answer."""

    def __init__(self, world):
        self.world = world
        self.agent = Agent(world)
        try:
            self.status = self.agent.wait_until_it_serves()
        except Exception:
            self.agent.kill()
            raise
        self._read = 0
        self._usual = None
        self._memory = 0
        self.exports = 0  # that it was asked for

    def end(self):
        """Ends the agent as its operator would."""
        code = self.agent.end()
        if code != 0:
            raise AssertionError(f'the agent has ended with exit code {code}')

    def call(self, operation, **members):
        client = Client(host_of(self.status), int(self.status['port']), ADMINISTRATOR,
                        self.world.password)
        return client.call(operation, **members)

    def target(self):
        facts = self.world.appliance.facts
        return {'ssh_server': APPLIANCE, 'ssh_folder': facts['folder'], 'ssh_user': facts['user'],
                'ssh_password': self.world.ssh_password,
                'ssh_thumbprint': {'rsa': self.world.thumbprint}}

    def new_log(self):
        """What the log has more than before. Raises ValueError when it isn't text."""
        text = self._peek()
        self._read += len(text.encode())
        return text

    def _peek(self):
        with open(self.world.machine.find('halvard.log'), 'rb') as file:
            file.seek(self._read)
            return file.read().decode('utf-8')

    def await_line(self, text):
        """Until the log, from where it was last taken, has the text."""
        end = time.monotonic() + SETTLE_SECONDS
        while text not in self._peek():
            if time.monotonic() > end:
                raise AssertionError(f'never: {text}')
            time.sleep(0.02)

    def remember_usual(self):
        self._usual = self._belongings()
        self._memory = self._memory_now()

    def check_memory(self, most):
        more = self._memory_now() - self._memory
        print(f'{more / (1 << 20):.1f} MiB more memory than at first')
        if more > most:
            raise AssertionError('the agent keeps memory')

    def _memory_now(self):
        pages = Path(f'/proc/{self.agent.pid}/statm').read_text(encoding='ascii').split()[1]
        return int(pages) * os.sysconf('SC_PAGE_SIZE')

    def check_usual(self, handles):
        """The agent has no more than it had before: nothing open, running or lying about, but so many
        handles at the most that it keeps by design."""
        self._usual['descriptors'] += handles
        end = time.monotonic() + SETTLE_SECONDS
        while (more := self._more_than_usual()) and time.monotonic() < end:
            time.sleep(0.02)
        if more:
            raise AssertionError(f'the agent keeps {more}')
        self._usual['descriptors'] = self._belongings()['descriptors']

    def _more_than_usual(self):
        if self.agent.has_ended():
            raise AssertionError('the agent has ended')
        usual = self._usual
        return {what: (have, usual[what]) for what, have in self._belongings().items()
                if not have <= usual[what]}

    def _belongings(self):
        process = f'/proc/{self.agent.pid}'
        machine = self.world.machine
        # A further export gets a folder below the last one's.
        exports = str(machine.drive / AGENT_FOLDER / 'export')
        files = {str(path) for path in machine.drive.rglob('*')
                 if not str(path).startswith(exports)}
        return {'descriptors': len(os.listdir(f'{process}/fd')),
                'threads': len(os.listdir(f'{process}/task')),
                'processes': len(machine.processes()), 'files': files}
