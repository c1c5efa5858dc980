"""What happens to a migration, and when: both follow from a seed."""

import os
import random
import signal
import threading
import time
from pathlib import Path

# About as many lines as the log of a migration has that nothing happens to.
LINES = {'embedded': 700, 'management': 650, 'infrastructure': 620}
LOOK_SECONDS = 0.002
SHORT_SECONDS = 1.5
# Servers that a migration of the type meets, by the names of their programs.
SERVERS = {'embedded': ('kelvane-server', 'lab-sshd'),
           'management': ('kelvane-server', 'lab-slapd', 'lab-sshd'),
           'infrastructure': ('lab-slapd', 'lab-sshd')}


def incidents_of(kind):
    """(what happens, to what) for a migration of the type."""
    incidents = [('kill', 'agent'), ('fill', 'disk'), ('kill', 'runner'), ('stop', 'runner'),
                 ('cut', 'client'), ('silence', 'client')]
    for server in SERVERS[kind]:
        incidents += [(what, server) for what in ('kill', 'stop', 'cut', 'silence')]
    return incidents


class Disruption:
    """One incident at one moment."""

    def __init__(self, seed):
        chance = random.Random(seed)
        self.seed = seed
        self.type = chance.choice(sorted(LINES))
        self.source = chance.choice(('5.5', 'platform'))
        self.what, self.whom = chance.choice(incidents_of(self.type))
        self.line = chance.randint(1, LINES[self.type])
        self.delay = chance.choice((0, chance.uniform(0, 0.2)))
        # Whether the same agent gets a second chance, if it lives on.
        self.same_agent = chance.random() < 0.5

    def kills_appliance(self):
        """Which takes along what has arrived."""
        return (self.what, self.whom) == ('kill', 'lab-sshd')

    def __str__(self):
        return (f'seed {self.seed}: {self.what} {self.whom} {self.delay * 1000:.0f} ms behind line '
                f'{self.line}, {self.type}-{self.source}')


def descendants(pid):
    """A process and all below it, the lowest first."""
    below = []
    for task in Path(f'/proc/{pid}/task').glob('*/children'):
        try:
            for child in task.read_text(encoding='ascii').split():
                below += descendants(int(child))
        except OSError:
            continue
    return [*below, pid]


def signal_all(pids, number):
    for pid in pids:
        try:
            os.kill(pid, number)
        except ProcessLookupError:
            continue


class Saboteur:
    """Waits for the moment, and lets it happen. What is only for a while is over by itself."""

    def __init__(self, world, disruption):
        self._world = world
        self._disruption = disruption
        self._gives_up = threading.Event()
        self._acted_at = None
        self.failure = None
        self._thread = threading.Thread(target=self._run)

    def start(self):
        self._thread.start()

    @property
    def has_acted(self):
        return self._acted_at is not None

    def seconds_since(self):
        return time.monotonic() - self._acted_at if self.has_acted else 0

    def end(self):
        """The moment doesn't come any more; what has begun comes to its end."""
        self._gives_up.set()
        self._thread.join()
        if self.failure:
            raise self.failure

    def _run(self):
        try:
            if self._moment_comes():
                self._act()
        except Exception as failure:  # pylint: disable=broad-except; told where it is waited for
            self.failure = failure

    def _moment_comes(self):
        count = 0
        position = 0
        while count < self._disruption.line:
            if self._gives_up.wait(LOOK_SECONDS):
                return False
            log = self._world.machine.find('halvard.log')
            if log is None:
                continue
            with open(log, 'rb') as file:
                file.seek(position)
                data = file.read()
            position += len(data)
            count += data.count(b'\n')
        return not self._gives_up.wait(self._disruption.delay)

    def _act(self):
        what, whom = self._disruption.what, self._disruption.whom
        if whom == 'agent':
            self._world.agent.signal(signal.SIGKILL)
        elif whom == 'disk':
            self._world.fill_disk()
        elif what in ('cut', 'silence'):
            self._disturb(self._world.lines[whom], what)
        elif not self._disturb_processes(what, whom):
            return
        self._acted_at = time.monotonic()

    @staticmethod
    def _disturb(line, what):
        if what == 'cut':
            line.cut()
            time.sleep(SHORT_SECONDS)
        else:
            line.silence()
            time.sleep(SHORT_SECONDS)
            # A peer that stays silent would hold the agent for as long as TCP does.
            line.cut()
        line.mend()

    def _disturb_processes(self, what, whom):
        pids = self._runners() if whom == 'runner' else self._world.processes_of(whom)
        if what == 'kill':
            signal_all(pids, signal.SIGKILL)
        else:
            signal_all(pids, signal.SIGSTOP)
            time.sleep(SHORT_SECONDS)
            signal_all(pids, signal.SIGCONT)
        return bool(pids)

    def _runners(self):
        """The first that there are from now on."""
        while not self._gives_up.wait(LOOK_SECONDS):
            pids = [pid for pid, name in self._world.machine.processes().items()
                    if name.startswith('python')]
            if pids:
                return pids
        return []
