"""The agent's program on a machine of the lab, between files or at a terminal."""

import contextlib
import os
import pty
import signal
import subprocess
import threading
import time

# pylint: disable=import-error
from processes import free_port

STEP_SECONDS = 0.02
# From the line that says so, until the status file has to be there.
GRACE_SECONDS = 0.5
LISTENING = '0A'


class Hang(Exception):
    """Something took longer than anything may."""


def wait_until(condition, seconds, what):
    deadline = time.monotonic() + seconds
    while not (found := condition()):
        if time.monotonic() > deadline:
            raise Hang(what)
        time.sleep(STEP_SECONDS)
    return found


def listener(port):
    """The loopback address of the family in which somebody listens on the port; None if nobody does.
    Nothing is connected: the agent would tell of it."""
    for table, host in (('tcp', '127.0.0.1'), ('tcp6', '::1')):
        with open(f'/proc/net/{table}', encoding='ascii') as rows:
            for row in rows:
                fields = row.split()
                if fields[3] == LISTENING and int(fields[1].rsplit(':', 1)[1], 16) == port:
                    return host
    return None


class AgentRun:
    """\\param arguments: for the agent; without any it prompts, and gets a terminal. \\param answers:
    what is typed at a terminal, by the texts that ask for it."""

    def __init__(self, world, arguments, answers=None):
        self._machine = world.machine
        self._leaks_count = world.leaks_count
        self._waiting_text = world.messages.text(1021)
        self._output = world.machine.folder.parent / f'{world.machine.folder.name}.out'
        self._errors = world.machine.folder.parent / f'{world.machine.folder.name}.err'
        self.port = None if answers else free_port()
        command = [str(world.programs / 'halvard'), *arguments]
        if self.port:
            command += ['--hv_port', str(self.port)]
        self._terminal = None
        self._typist = None
        self._output.touch()
        with open(self._errors, 'wb') as errors:
            if answers:
                self._start_at_terminal(command, errors, answers)
            else:
                self._start_between_files(command, errors)
        self.pid = self._process.pid
        self._said_at = None

    def _environment(self):
        environment = {name: os.environ[name] for name in os.environ if name.endswith('SAN_OPTIONS')}
        if not self._leaks_count:
            environment['ASAN_OPTIONS'] = environment.get('ASAN_OPTIONS', '') + ':detect_leaks=0'
        return {**environment, 'HALVARD_LAB': str(self._machine.folder)}

    def _start_between_files(self, command, errors):
        with open(self._output, 'wb') as output:
            self._process = subprocess.Popen(command, env=self._environment(), stdout=output,
                                             stdin=subprocess.DEVNULL, stderr=errors,
                                             start_new_session=True)

    def _start_at_terminal(self, command, errors, answers):
        self._terminal, slave = pty.openpty()
        self._process = subprocess.Popen(command, env=self._environment(), stdin=slave, stdout=slave,
                                         stderr=errors, start_new_session=True)
        os.close(slave)
        self._typist = threading.Thread(target=self._type, args=(answers,))
        self._typist.start()

    def _type(self, answers):
        """Answers each text as often as it is shown."""
        unread = b''
        with open(self._output, 'wb') as output, contextlib.suppress(OSError):
            while data := os.read(self._terminal, 65536):
                output.write(data)
                output.flush()
                unread += data
                for text, answer in answers.items():
                    if text.encode() in unread:
                        unread = unread.split(text.encode(), 1)[1]
                        # A masked prompt drops what was typed before it turned the echo off.
                        time.sleep(0.02)
                        os.write(self._terminal, answer.encode())

    @property
    def console(self):
        return self._output.read_text(encoding='utf-8', errors='replace').replace('\r', '')

    @property
    def errors(self):
        return self._errors.read_text(encoding='utf-8', errors='replace')

    def has_ended(self):
        return self._process.poll() is not None

    def serves(self):
        """Whether clients may come. A status file that can't be written doesn't keep them away."""
        if (self._machine.status() or {}).get('initialization') == 'success':
            return True
        if self._said_at is None and self._waiting_text in self.console:
            self._said_at = time.monotonic()
        return self._said_at is not None and time.monotonic() > self._said_at + GRACE_SECONDS

    def wait_until_it_serves(self, seconds):
        """False when it has ended before."""
        wait_until(lambda: self.has_ended() or self.serves(), seconds, 'the start')
        return not self.has_ended()

    def interrupt(self):
        if not self.has_ended():
            self._process.send_signal(signal.SIGINT)

    def wait(self, seconds):
        """The exit code; of an end by a signal, its negative number."""
        try:
            return self._process.wait(seconds)
        except subprocess.TimeoutExpired as late:
            raise Hang('the end of the agent') from late

    def close(self):
        """Ends it, whatever state it is in."""
        if not self.has_ended():
            self._process.kill()
            self._process.wait()
        if self._typist:
            self._typist.join()
            os.close(self._terminal)
            self._terminal = self._typist = None
