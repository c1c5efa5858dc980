"""Clients of all bad manners at an agent that serves, and a good one beside them. The good one is
always served; afterwards the agent has the memory and the descriptors that it had before.

    hostile_clients.py PROGRAMS --seconds 3600 --requests 1000000
"""

import argparse
import collections
import contextlib
import json
import os
import random
import resource
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

import programs

FOLDER = programs.take_folder()

import manners  # noqa: E402
import phases  # noqa: E402
from installer import host_of  # noqa: E402

AT_ONCE = 5000
CROWD_SECONDS = 6
WORKERS = 4
GOOD_PAUSE_SECONDS = 0.1
# All requests wait for one thread, and a handshake or a large request takes a few milliseconds of it;
# but a busy host may leave that thread little time.
GOOD_LIMIT_SECONDS = 60
SETTLE_SECONDS = 30
MORE_MEMORY_BYTES = 16 << 20
MORE_BEHIND_CROWD_BYTES = 8 << 20
MOST_CROWDS = 8
# Log, listener, runner's folder and the like: far fewer than connections.
FEW_DESCRIPTORS = 20


def descriptors_of(pid):
    return len(os.listdir(f'/proc/{pid}/fd'))


def memory_of(pid):
    for line in Path(f'/proc/{pid}/status').read_text(encoding='ascii').splitlines():
        if line.startswith('VmRSS:'):
            return int(line.split()[1]) << 10
    raise AssertionError('the agent has ended')


def in_mebibytes(count):
    return f'{count / (1 << 20):.1f} MiB'


class GoodClient:
    """Asks what a good one asks, one after the other, and remembers how long it waited."""

    def __init__(self, scenario):
        self._scenario = scenario
        self._ends = threading.Event()
        self.waits = []
        self.failure = None
        self._thread = threading.Thread(target=self._run)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_exception):
        self._ends.set()
        self._thread.join()

    def _run(self):
        while not self._ends.wait(GOOD_PAUSE_SECONDS) and not self.failure:
            started = time.monotonic()
            try:
                reply = self._scenario.call('get_source_deployment_type')
                if reply['result'] != 'success':
                    self.failure = f'a good client is answered {reply}'
            except Exception as failure:  # pylint: disable=broad-except; each is one too many
                self.failure = f'a good client isn\'t served: {failure!r}'
            self.waits.append(time.monotonic() - started)

    def check(self):
        if self.failure:
            raise AssertionError(self.failure)
        if not self.waits or max(self.waits) > GOOD_LIMIT_SECONDS:
            raise AssertionError(f'a good client waits {max(self.waits, default=0):.1f} s')
        ordered = sorted(self.waits)
        return (f'{len(ordered)} good requests, median {ordered[len(ordered) // 2] * 1000:.0f} ms, '
                f'longest {ordered[-1] * 1000:.0f} ms')


class Siege:
    def __init__(self, scenario):
        self.scenario = scenario
        self.pid = scenario.agent.pid
        self.address = (host_of(scenario.status), int(scenario.status['port']))
        self.counts = collections.Counter()

    def warm_up(self):
        """What is made once, and kept, is made by now."""
        chance = random.Random(0)
        for manner in manners.EVERYONE:
            for _ in range(3):
                behave(manner, self.address, chance)
        self.scenario.call('get_source_deployment_type')
        self.settle(FEW_DESCRIPTORS)

    def await_descriptors(self, count):
        """Until the agent has taken all connections that wait; the oldest will be dropped soon."""
        end = time.monotonic() + CROWD_SECONDS
        while (now := descriptors_of(self.pid)) < count and time.monotonic() < end:
            time.sleep(0.02)
        return now

    def settle(self, most):
        """Waits until connections that nobody has any more are closed on the agent's side too."""
        end = time.monotonic() + SETTLE_SECONDS
        while (count := descriptors_of(self.pid)) > most and time.monotonic() < end:
            time.sleep(0.05)
        return count

    def attack(self, seconds, requests):
        """Workers for so long, or until so many requests are made if that takes longer."""
        workers = [subprocess.Popen(
            [sys.executable, '-B', __file__, str(FOLDER), '--worker', str(seed), '--address',
             json.dumps(self.address), '--seconds', str(seconds), '--requests',
             str(requests // WORKERS)], stdout=subprocess.PIPE, text=True)
            for seed in range(WORKERS)]
        for worker in workers:
            output, _ = worker.communicate()
            if worker.returncode != 0:
                raise AssertionError('a worker has failed')
            self.counts.update(json.loads(output))

    def crowd(self):
        """Connections at once: a third says nothing, the others begin a handshake."""
        hello = manners.client_hello()
        connections = []
        try:
            for number in range(AT_ONCE):
                connection = manners.connect(self.address)
                connections.append(connection)
                if number % 3:
                    connection.sendall(hello[:len(hello) // (number % 3)])
            most = self.await_descriptors(AT_ONCE)
            started = time.monotonic()
            reply = self.scenario.call('get_source_deployment_type')
            wait = time.monotonic() - started
        finally:
            for connection in connections:
                with contextlib.suppress(OSError):
                    manners.abort(connection)
        if reply['result'] != 'success':
            raise AssertionError(f'in a crowd a good client is answered {reply}')
        return f'{AT_ONCE} connections, {most} descriptors, a good request in {wait * 1000:.0f} ms'


def behave(manner, address, chance):
    """The number of requests that came of it; a server that says no is nobody's fault."""
    with contextlib.suppress(OSError, subprocess.TimeoutExpired):
        return manner(address, chance)
    return 1


def work(options):
    """One worker: its counts by manner, on standard output."""
    chance = random.Random(options.worker)
    address = tuple(json.loads(options.address))
    weights = list(manners.WEIGHTS.values())
    counts = collections.Counter()
    end = time.monotonic() + options.seconds
    while time.monotonic() < end or sum(counts.values()) < options.requests:
        manner = chance.choices(manners.EVERYONE, weights)[0]
        counts[manner.__name__] += behave(manner, address, chance)
    print(json.dumps(counts))


def besiege(options):
    world = phases.Surroundings(FOLDER)
    world.renew()
    scenario = phases.Scenario(world)
    try:
        scenario.reach('serving', speed=1)
        siege = Siege(scenario)
        siege.warm_up()
        memory = memory_of(siege.pid)
        print(f'before: {in_mebibytes(memory)}', flush=True)
        with GoodClient(scenario) as good:
            siege.attack(options.seconds, options.requests)
        print(dict(siege.counts), flush=True)
        print(f'{sum(siege.counts.values())} requests; {good.check()}', flush=True)
        check_descriptors(siege)
        if not options.any_memory:
            check_memory(siege, memory)
        crowd_in(siege, options.any_memory)
        end_well(scenario)
    finally:
        scenario.end()
        world.end()


def check_memory(siege, memory):
    """Behind the attack the agent has what it had before."""
    now = memory_of(siege.pid)
    print(f'after: {in_mebibytes(now)}', flush=True)
    if now > memory + MORE_MEMORY_BYTES:
        raise AssertionError('the agent keeps memory')


def check_descriptors(siege):
    count = siege.settle(FEW_DESCRIPTORS)
    if count > FEW_DESCRIPTORS:
        raise AssertionError(f'the agent keeps {count} descriptors')


def crowd_in(siege, any_memory):
    """Crowds take memory that the heap keeps for the next one: about 65 KiB for each connection. One
    of them is the first that needs no more."""
    memory = 0
    for _ in range(MOST_CROWDS):
        print(siege.crowd(), flush=True)
        check_descriptors(siege)
        before, memory = memory, memory_of(siege.pid)
        print(f'behind the crowd: {in_mebibytes(memory)}', flush=True)
        if any_memory or memory <= before + MORE_BEHIND_CROWD_BYTES:
            return
    raise AssertionError('each crowd takes more memory')


def end_well(scenario):
    scenario.agent.signal(signal.SIGINT)
    if scenario.agent.wait() != 0:
        raise AssertionError('the agent doesn\'t end well')


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--seconds', type=float, default=3600)
    parser.add_argument('--requests', type=int, default=1_000_000)
    parser.add_argument('--any-memory', action='store_true', help='let the agent keep memory')
    parser.add_argument('--worker', type=int, help=argparse.SUPPRESS)
    parser.add_argument('--address', help=argparse.SUPPRESS)
    options = parser.parse_args()
    if options.worker is not None:
        return work(options)
    programs.skip_without_appliance(FOLDER)
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    if hard < 2 * AT_ONCE:
        print(f'Skipped: this host permits {hard} descriptors, too few for {AT_ONCE} connections')
        return programs.SKIPPED
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    return besiege(options)


if __name__ == '__main__':
    sys.exit(main())
