#!/usr/bin/env python3
"""The agent's secure copy beside other programs: compare.py BIN BENCH, the folders of lab-machine and
lab-sshd and of the sender.

Each contender sends the same file from a memory file system over loopback to the same sshd, which
writes it to another one. The runs are interleaved, and a ratio is the median of the ratios within a
round. HALVARD_BENCH_MIB is the size of the file (1024), HALVARD_BENCH_ROUNDS the number of rounds (5).
See docs/performance.md.
"""

import hashlib
import json
import os
import re
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import table  # noqa: E402  (in the folder above)

MIB = int(os.environ.get('HALVARD_BENCH_MIB', '1024'))
ROUNDS = int(os.environ.get('HALVARD_BENCH_ROUNDS', '5'))
HOST = '192.0.2.20'
USER, PASSWORD = 'root', 'secret'
NAMES = ('agent', 'scp', 'scp aes128-gcm', 'pscp')


def peak_memory(pid):
    """MiB that a process and its children have had at most, by process id. What the kernel tells at
    a process's end isn't it: that counts what it was before it became another program."""
    peaks = {}
    try:
        children = Path(f'/proc/{pid}/task/{pid}/children').read_text(encoding='utf-8').split()
        for process in (pid, *children):
            status = Path(f'/proc/{process}/status').read_text(encoding='utf-8')
            peaks[int(process)] = int(re.search(r'VmHWM:\s+(\d+)', status)[1]) / 1024
    except (OSError, TypeError):
        pass  # It has just ended.
    return peaks


class Server:
    """An appliance of the lab, with room for one copy and what else scp wants."""

    def __init__(self, program):
        self.process = subprocess.Popen(
            [program, '--until-input-ends', '--disk-size', f'{MIB + 64}m',
             '--option', 'Subsystem sftp internal-sftp'],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        if not line:
            sys.exit('lab-sshd did not start')
        self.facts = json.loads(line)
        self.target = self.facts['folder'] + '/copy'
        self.host_target = Path(self.facts['root'] + self.target)

    def host_key(self):
        """The fingerprint as pscp wants it."""
        key = Path(self.facts['folder']).parent / 'key_rsa.pub'
        words = subprocess.run(['ssh-keygen', '-lf', key], check=True, text=True,
                               stdout=subprocess.PIPE).stdout.split()
        return words[1]

    def stop(self):
        self.process.stdin.close()
        self.process.wait()


class Bench:
    def __init__(self, programs, senders, folder):
        self.senders = senders
        self.folder = folder
        self.server = Server(programs / 'lab-sshd')
        self.machine = folder / 'machine'
        subprocess.run([programs / 'lab-machine', 'start', 'windows-server', self.machine],
                       check=True, stdout=subprocess.DEVNULL)
        description = self.machine / 'machine.json'
        document = json.loads(description.read_text(encoding='utf-8'))
        document['addressMap'] = {f'{HOST}:22': self.server.facts['address']}
        description.write_text(json.dumps(document), encoding='utf-8')
        self.file = self.machine / 'drive_c' / 'export.zip'
        self.digest = self.make_file()
        self.askpass = folder / 'askpass'
        self.askpass.write_text(f'#!/bin/sh\necho {PASSWORD}\n', encoding='utf-8')
        self.askpass.chmod(0o700)

    def make_file(self):
        """Content that nothing could compress."""
        digest = hashlib.sha256()
        with open(self.file, 'wb') as file:
            for _ in range(MIB):
                piece = os.urandom(1 << 20)
                digest.update(piece)
                file.write(piece)
        return digest.digest()

    def command(self, name):
        facts, target = self.server.facts, self.server.target
        if name == 'agent':
            return [self.senders / 'scp_sender', HOST, target, USER, PASSWORD, 'C:\\export.zip']
        if name == 'pscp':
            return ['pscp', '-scp', '-batch', '-q', '-P', str(facts['port']), '-pw', PASSWORD, '-hostkey',
                    self.server.host_key(), self.file, f'{USER}@127.0.0.1:{target}']
        command = ['scp', '-q', '-P', str(facts['port']), '-o', 'StrictHostKeyChecking=no',
                   '-o', f'UserKnownHostsFile={self.folder}/known_hosts', '-o', 'LogLevel=ERROR']
        if name == 'scp aes128-gcm':
            command += ['-c', 'aes128-gcm@openssh.com']
        return command + [self.file, f'{USER}@127.0.0.1:{target}']

    def run(self, name):
        """One copy: seconds, processor seconds of the sender, and its peak memory in MiB."""
        environment = dict(os.environ, HALVARD_LAB=str(self.machine), SSH_ASKPASS=str(self.askpass),
                           SSH_ASKPASS_REQUIRE='force')
        self.server.host_target.unlink(missing_ok=True)
        started = time.monotonic()
        process = subprocess.Popen(self.command(name), env=environment, stdin=subprocess.DEVNULL,
                                   stdout=subprocess.PIPE, text=True)
        peaks = {}
        while os.waitid(os.P_PID, process.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT) is None:
            peaks.update(peak_memory(process.pid))
            time.sleep(0.02)
        seconds = time.monotonic() - started
        output = process.stdout.read()
        # The time of programs that it has started and waited for is in the sums.
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            sys.exit(f'{name} failed with {process.returncode}')
        result = {'wall': seconds, 'cpu': usage.ru_utime + usage.ru_stime,
                  'memory': sum(peaks.values())}
        if name == 'agent':
            result['start'] = int(output) / 1024
        return result

    def check(self, name):
        digest = hashlib.sha256()
        with open(self.server.host_target, 'rb') as file:
            while piece := file.read(1 << 20):
                digest.update(piece)
        if digest.digest() != self.digest:
            sys.exit(f'{name}: the copy differs from the file')

    def measure(self):
        runs = {name: [] for name in NAMES}
        for number in range(ROUNDS):
            # Each round begins with another one.
            for name in NAMES[number % len(NAMES):] + NAMES[:number % len(NAMES)]:
                runs[name].append(self.run(name))
                if number == 0:
                    self.check(name)
        return runs


def median(runs, name, measure):
    return statistics.median(run[measure] for run in runs[name])


def others(runs, measure, text):
    """The values of the others, each with ours divided by it within a round."""
    parts = []
    for name in NAMES[1:]:
        ratio = statistics.median(ours[measure] / theirs[measure]
                                  for ours, theirs in zip(runs['agent'], runs[name]))
        parts.append(f'{name} {text.format(median(runs, name, measure))} ({ratio:.2f})')
    return ', '.join(parts)


def report(runs):
    for measure, what, text in (('wall', 'time', '{:.2f} s'), ('cpu', 'processor time', '{:.2f} s'),
                                ('memory', 'peak memory', '{:.1f} MiB')):
        table.row('secure copy', f'{MIB} MiB: {what} of the sender',
                  text.format(median(runs, 'agent', measure)), others(runs, measure, text))
    table.row('secure copy', 'peak memory of the sender before the copy',
              f"{median(runs, 'agent', 'start'):.1f} MiB", '')


def main():
    if len(sys.argv) != 3:
        sys.exit('usage: compare.py BIN BENCH')
    print(f'  load before: {os.getloadavg()[0]:.1f}')
    with tempfile.TemporaryDirectory(dir='/dev/shm') as folder:
        bench = Bench(Path(sys.argv[1]), Path(sys.argv[2]), Path(folder))
        try:
            report(bench.measure())
        finally:
            bench.server.stop()
    print(f'  load after: {os.getloadavg()[0]:.1f}')


if __name__ == '__main__':
    main()
