"""Programs that a rehearsal runs: servers of the lab, the agent, the client."""

import collections
import errno
import itertools
import json
import os
import random
import signal
import socket
import subprocess
import threading
import time

from narrator import StepFailed

PATIENCE_SECONDS = 120
CLOSE_SECONDS = 5


class Started:
    """A process that was started."""

    def __init__(self, process):
        self._process = process

    @property
    def pid(self):
        return self._process.pid

    def has_ended(self):
        return self._process.poll() is not None

    def signal(self, number):
        if not self.has_ended():
            self._process.send_signal(number)

    def wait(self, seconds=None):
        """The exit code. Raises StepFailed after the seconds."""
        try:
            return self._process.wait(seconds)
        except subprocess.TimeoutExpired as late:
            raise StepFailed(f'{self._process.args[0]} runs on after {seconds} s') from late

    def kill(self):
        if not self.has_ended():
            self._process.kill()
        self._process.wait()


class StandIn(Started):
    """A server of the lab, which prints one line of JSON on its start and ends with its input."""

    def __init__(self, program, arguments):
        super().__init__(subprocess.Popen(
            [str(program), *arguments, '--until-input-ends'], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, start_new_session=True))
        line = self._process.stdout.readline()
        if not line:
            raise StepFailed(self._process.stderr.read().strip() or f'{program} has ended')
        self.facts = json.loads(line)

    def end(self):
        self._process.stdin.close()
        try:
            self.wait(PATIENCE_SECONDS)
        except StepFailed:
            self.kill()
        self._process.stdout.close()
        self._process.stderr.close()


class Run(Started):
    """A program whose output is shown line by line while it runs, and kept."""

    def __init__(self, command, environment, narrator, prefix):
        self._narrator = narrator
        self._prefix = prefix
        self._lines = []
        # Keys at the terminal are for the rehearsal; it ends its programs itself.
        super().__init__(subprocess.Popen(
            command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT, text=True, encoding='utf-8', errors='replace',
            start_new_session=True))
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    @property
    def output(self):
        return ''.join(self._lines)

    def wait(self, seconds=None):
        """The exit code, once all output is shown. Raises StepFailed after the seconds."""
        code = super().wait(seconds)
        self._reader.join()
        return code

    def kill(self):
        super().kill()
        self._reader.join()

    def _read(self):
        for line in self._process.stdout:
            self._lines.append(line)
            self._narrator.line(self._prefix + line.rstrip('\n'))
        self._process.stdout.close()


class TerminalRun(Started):
    """A program at the rehearsal's own terminal, for a person to talk to."""

    output = None  # nobody but the person sees it

    def __init__(self, command, environment):
        super().__init__(subprocess.Popen(command, env=environment))


# Below those that the system gives to whoever connects (ip(7), ip_local_port_range).
PORTS = range(20000, 30000)


def is_free(port):
    """If it can be had in both families. OSError where no port can be had at all."""
    family, address = ((socket.AF_INET6, '::') if socket.has_dualstack_ipv6()
                       else (socket.AF_INET, ''))
    with socket.socket(family) as probe:
        try:
            probe.bind((address, port))
        except OSError as error:
            if error.errno != errno.EADDRINUSE:
                raise
            return False
        return True


# Between the choice of a port and the start of its server it is nobody's. The last ones stay claimed.
CLAIMS = collections.deque(maxlen=100)


def claim(port):
    """Keeps others from choosing a port: programs that share their ports share these names too
    (unix(7), abstract), tests/support/free_port.h among them. False when another has it."""
    name = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    try:
        name.bind(f'\0halvard-test-port-{port}')
    except OSError as error:
        name.close()
        if error.errno != errno.EADDRINUSE:
            raise
        return False
    CLAIMS.append(name)
    return True


def free_port():
    """Any that nobody has."""
    while not (claim(port := random.choice(PORTS)) and is_free(port)):
        pass
    return port


def taken_ports(first):
    """The ports from this one on that somebody has, up to the first that nobody has. The agent's own
    look at the system finds listeners of IPv4 alone."""
    return list(itertools.takewhile(lambda port: not is_free(port), itertools.count(first)))


class Agent:
    """The agent on a machine of the lab: with its passwords on the command line and on any free
    port, or at the terminal, where it asks for the one and looks for the other itself."""

    def __init__(self, world, password=None, at_terminal=False):
        arguments = [] if at_terminal else ['--admin_password', password or world.password,
                                            '--hv_port', str(free_port())]
        command = world.machine.agent_command(*arguments)
        environment = world.machine.agent_environment
        self._machine = world.machine
        self._at_terminal = at_terminal
        self._run = (TerminalRun(command, {**os.environ, **environment}) if at_terminal
                     else Run(command, environment, world.narrator, '  agent | '))

    @property
    def pid(self):
        return self._run.pid

    @property
    def console(self):
        """What it has shown; None at a terminal."""
        return self._run.output

    def wait_until_it_serves(self):
        """Its status file. Raises StepFailed when the agent ends before it serves."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        while True:
            status = self._machine.status()
            if status and status['initialization'] == 'success':
                return status
            if self._run.has_ended():
                raise StepFailed(f'the agent has ended with exit code {self._run.wait()}')
            # A person may take any time over the prompts.
            if not self._at_terminal and time.monotonic() > deadline:
                raise StepFailed('the agent doesn\'t serve')
            time.sleep(0.05)

    def wait(self, seconds=PATIENCE_SECONDS):
        return self._run.wait(seconds)

    def signal(self, number):
        self._run.signal(number)

    def end(self):
        """Ctrl+C of its operator. Returns the exit code."""
        self.signal(signal.SIGINT)
        return self.wait()

    def has_ended(self):
        return self._run.has_ended()

    def kill(self):
        self._run.kill()

    def close(self):
        """Ends an agent that still runs, whatever state it is in."""
        self.signal(signal.SIGINT)
        try:
            self._run.wait(CLOSE_SECONDS)
        except StepFailed:
            self._run.kill()
