"""Machines on which the agent is brought into each phase of a migration and held there, so that a test
can let something happen to it. The servers around them are started once."""

import contextlib
import io
import os
import pty
import shutil
import signal
import socket
import sys
import tempfile
import threading
import time
import types
from pathlib import Path

import programs

sys.path.insert(0, str(programs.TREE / 'tools' / 'rehearsal'))

import processes  # noqa: E402
from api_client import Client  # noqa: E402
from installer import host_of  # noqa: E402
from lab_machine import LabMachine  # noqa: E402
from narrator import Narrator  # noqa: E402
from world import ADMINISTRATOR, APPLIANCE, APPLIANCE_ADDRESS, Settings, World  # noqa: E402

PATIENCE_SECONDS = 60
WHILE_IT_SERVES = ('serving', 'client\'s prechecks', 'export', 'question', 'zip', 'copy', 'copy of logs')
# The phases in which a program of the machine runs beside the agent.
WITH_RUNNER = ('prechecks', 'client\'s prechecks', 'export', 'question')
NEVER_MILLISECONDS = 1_000_000_000
EXTRACTION_LINE = 'ExtractPythonAndUpgradeRunner: Extracting python msi.'


def wait_until(condition, what):
    deadline = time.monotonic() + PATIENCE_SECONDS
    while not (found := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f'never: {what}')
        time.sleep(0.01)
    return found


class HeldLine:
    """A line to a server that falls silent after so many bytes of the client, and stays open."""

    def __init__(self, address, limit):
        host, port = address.rsplit(':', 1)
        self._server = (host, int(port))
        self._left = limit
        self.is_held = threading.Event()
        self._listener = socket.create_server(('127.0.0.1', 0))
        self.address = f'127.0.0.1:{self._listener.getsockname()[1]}'
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        client, _ = self._listener.accept()
        server = socket.create_connection(self._server)
        threading.Thread(target=self._carry, args=(server, client), daemon=True).start()
        with contextlib.suppress(OSError):
            while self._left > 0 and (data := client.recv(min(4096, self._left))):
                server.sendall(data)
                self._left -= len(data)
            self.is_held.set()
            while client.recv(1, socket.MSG_PEEK):  # until the client is gone
                time.sleep(0.05)
        for end in (server, client, self._listener):
            end.close()

    @staticmethod
    def _carry(source, target):
        with contextlib.suppress(OSError):
            while data := source.recv(4096):
                target.sendall(data)


class Surroundings(World):
    """The servers, and a machine that is replaced by a new one for each scenario."""

    def __init__(self, folder):
        self._folder = Path(tempfile.mkdtemp(prefix='phases-'))
        scratch = self._folder / 'scratch'
        scratch.mkdir()
        options = types.SimpleNamespace(type='embedded', source='5.5', locale='en', export_size=1 << 20)
        super().__init__(Settings(options), folder, self._folder / 'first', scratch,
                         Narrator(io.StringIO()))
        self.start_server()
        self.start_appliance()
        self._count = 0

    def end(self):
        super().end()
        shutil.rmtree(self._folder, ignore_errors=True)

    def renew(self):
        """A machine on which nothing has happened yet."""
        self._count += 1
        self.lost_openings = []
        self.machine = LabMachine(self.programs, self.settings.machine,
                                  self._folder / f'machine-{self._count}')
        self.machine.add_to_registry(r'HKEY_LOCAL_MACHINE\SOFTWARE\Ostrel, Inc.\Ostrel Kelvane',
                                     'HttpsProxyPort', self.server.facts['port'])
        for path in (self.arrived('export.zip'), self.arrived('logs.zip')):
            path.unlink(missing_ok=True)
        self.describe_machine()


class PromptedAgent:
    """The agent at a terminal of its own, without arguments."""

    def __init__(self, world):
        self._master, slave = pty.openpty()
        self.console = ''
        environment = {'HALVARD_LAB': str(world.machine.folder)}
        self.pid = os.posix_spawn(
            world.programs / 'halvard', ['halvard'], environment, setsid=True,
            file_actions=[(os.POSIX_SPAWN_DUP2, slave, number) for number in (0, 1, 2)])
        os.close(slave)
        self._reader = threading.Thread(target=self._read, daemon=True)
        self._reader.start()
        self._exit_code = None

    def _read(self):
        with contextlib.suppress(OSError):
            while data := os.read(self._master, 65536):
                self.console += data.decode('utf-8', 'replace').replace('\r', '')

    def type(self, text):
        os.write(self._master, text.encode())

    def signal(self, number):
        os.kill(self.pid, number)

    def has_ended(self):
        if self._exit_code is None:
            pid, status = os.waitpid(self.pid, os.WNOHANG)
            if pid:
                self._exit_code = os.waitstatus_to_exitcode(status)
        return self._exit_code is not None

    def wait(self):
        """The exit code, once all that it has shown is read."""
        wait_until(self.has_ended, 'end of the agent')
        self._reader.join(PATIENCE_SECONDS)
        return self._exit_code

    def close(self):
        if not self.has_ended():
            self.signal(signal.SIGKILL)
            self.wait()
        os.close(self._master)


class StartedAgent(processes.Agent):
    """The agent with its password on the command line, and killed at the end of its scenario."""

    def close(self):
        self.kill()


class Scenario:
    """One agent on one machine, and what clients ask of it meanwhile."""

    def __init__(self, world):
        self.world = world
        self.machine = world.machine
        self.agent = None
        self.status = None
        self._calls = []

    def reach(self, phase, speed=20):
        """Starts the agent, goes on to the phase and stays in it."""
        self.machine.describe({'clock': {'speed': speed}})
        self._prepare(phase)
        if phase == 'prompt':
            self.agent = PromptedAgent(self.world)
            wait_until(lambda: f'Enter {ADMINISTRATOR} password: ' in self.agent.console, 'prompt')
            return
        self.agent = StartedAgent(self.world)
        if phase == 'extraction':
            wait_until(lambda: EXTRACTION_LINE in self.machine.log()
                       and self.machine.extraction_folder.exists(), 'extraction')
            self.agent.signal(signal.SIGSTOP)
        elif phase == 'prechecks':
            self.wait_for_runner()
        else:
            self.status = self.agent.wait_until_it_serves()
            self._go_on_from_serving(phase)

    def _prepare(self, phase):
        if phase == 'prechecks':
            self.hang_requirements()
        elif phase == 'export':
            self.machine.describe({'upgradeRunner': {'export': {'seconds': NEVER_MILLISECONDS}}})
        elif phase == 'zip':
            self.machine.describe({'zipCopying': {'manner': 'visible',
                                                  'milliseconds': NEVER_MILLISECONDS}})
        elif phase in ('copy', 'copy of logs'):
            # Behind the handshake, and behind the first of the file's bytes.
            self.line = HeldLine(self.world.appliance.facts['address'],
                                 300_000 if phase == 'copy' else 6_000)
            self.machine.describe({'addressMap': {f'{APPLIANCE_ADDRESS}:22': self.line.address}})

    def _go_on_from_serving(self, phase):
        if phase == 'serving':
            return
        if phase == 'client\'s prechecks':
            self.hang_requirements()
            self.call_in_background('invoke_pre_upgrade')
            self.wait_for_runner()
            return
        self.call('invoke_export')
        if phase == 'export':
            self.wait_for_export('running')
            return
        wait_until(lambda: (self.call('poll_export_status') or {}).get('question'), 'question')
        if phase == 'question':
            return
        self.call('create_answer_file', answer='yes')
        wait_until(lambda: 'Changing the status of export result to: SUCCESS' in self.machine.log(),
                   'export')
        self._hold_in_copy(phase)

    def _hold_in_copy(self, phase):
        operation = 'copy_logs_directory' if phase == 'copy of logs' else 'copy_export_data'
        self.call_in_background(operation, **self.target())
        if phase == 'zip':
            wait_until(lambda: 'ZipDirectory: Copying files to ZIP ...' in self.machine.log(), 'zip')
        else:
            wait_until(self.line.is_held.is_set, 'copy')

    def hang_requirements(self):
        self.machine.describe({'upgradeRunner': {'requirements': {'hangs': 'beforeOutput'}}})

    def wait_for_runner(self):
        wait_until(lambda: self.runners() and self.input_file(), 'runner')

    def wait_for_export(self, status):
        wait_until(lambda: (self.call('poll_export_status') or {}).get('status') == status, status)

    def runners(self):
        """Processes of the machine that aren't the agent's own."""
        return {number: name for number, name in self.machine.processes().items()
                if name.startswith('python')}

    def links(self):
        """At the drive's root, through which runners are started."""
        return [path for path in self.machine.drive.iterdir() if path.is_symlink()]

    def input_file(self):
        return self.machine.find('UpgradeRunnerInput.json')

    def target(self):
        facts = self.world.appliance.facts
        return {'ssh_server': APPLIANCE, 'ssh_folder': facts['folder'], 'ssh_user': facts['user'],
                'ssh_password': self.world.ssh_password,
                'ssh_thumbprint': {'rsa': facts['thumbprints']['rsa']}}

    def call(self, operation, **members):
        client = Client(host_of(self.status), int(self.status['port']), ADMINISTRATOR,
                        self.world.password)
        return client.call(operation, **members)

    def call_in_background(self, operation, **members):
        """A call that the agent doesn't answer any more."""
        def run():
            with contextlib.suppress(OSError):
                self.call(operation, **members)
        self._calls.append(threading.Thread(target=run, daemon=True))
        self._calls[-1].start()

    def undo_the_hold(self):
        """The machine as it is without the phase's hold."""
        self.machine.describe({'zipCopying': None,
                               'upgradeRunner': {'requirements': {'hangs': None},
                                                 'export': {'seconds': None}}})
        self.machine.describe({'addressMap': {f'{APPLIANCE_ADDRESS}:22':
                                              self.world.appliance.facts['address']}})

    def end(self):
        if self.agent:
            self.agent.close()
        self.machine.end_processes()
