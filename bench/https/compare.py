#!/usr/bin/env python3
"""The API's HTTPS server beside others: compare.py FOLDER, which holds the processes of this bench.

Every server answers the same requests of the same client with the same content: ours behind the
whole API, a plain Boost.Beast server, nginx with one worker and a fixed answer, and a blocking loop
over OpenSSL with nothing around it. The server has one core, the client another. The runs are
interleaved. See docs/performance.md.
"""

import contextlib
import json
import os
import re
import resource
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import table  # noqa: E402  (in the folder above)
from servers import (CLIENT_CORE, CORES, SERVER_CORE, Nginx, Server, make_certificate,  # noqa: E402
                     pinned)

ROUNDS = int(os.environ.get('HALVARD_BENCH_ROUNDS', '9'))
CONNECTIONS = 16
SHORT_REQUEST = 200
IDLE_CONNECTIONS = 1000
NAMES = ('agent', 'beast', 'nginx', 'openssl')
# TLS version, resumed, requests of a run.
KINDS = (('1.3', False, 300), ('1.2', False, 300), ('1.3', True, 500), ('1.2', True, 1000))
# What a run counts, its name and its unit.
MEASURES = (('rate', 'requests/s', ''), ('p50', 'median latency', ' ms'),
            ('p99', '99th percentile of latency', ' ms'),
            ('share', 'share of its core that the server had', ' %'),
            ('cpu', 'processor time of a request', ' us'))


class Bench:
    def __init__(self, programs, folder):
        self.programs = programs
        self.folder = folder
        self.pem = make_certificate(folder)
        # What our server says to the short request is what the others are to say.
        self.answer = ''
        with self.serving('agent') as servers:
            self.answer = self.client(servers['agent'], '1.3', False, 1)['answer']

    def start(self, name):
        if name == 'nginx':
            return Nginx(self.folder, self.pem, f"return 200 '{self.answer}';")
        arguments = [] if name == 'agent' else [self.answer]
        return Server(self.programs / f'https_{name}_server', self.pem, *arguments)

    @contextlib.contextmanager
    def serving(self, *names):
        servers = {}
        try:
            for name in names:
                servers[name] = self.start(name)
            yield servers
        finally:
            for server in servers.values():
                server.stop()

    def client(self, server, tls, resume, requests, *, connections=CONNECTIONS,
               body_size=SHORT_REQUEST, operation='echo'):
        run = subprocess.run(
            pinned(CLIENT_CORE, self.programs / 'https_client', server.port, tls, int(resume),
                   connections, requests, body_size, operation), check=True,
            stdout=subprocess.PIPE)
        result = json.loads(run.stdout)
        if result['failures'] or result['resumed'] != (requests if resume else 0):
            raise RuntimeError(f'not every request was served as it should be: {result}')
        return result

    def tls_alone(self, tls, resume, count):
        """Microseconds that OpenSSL takes for a server's part of a connection, in memory."""
        run = subprocess.run(
            pinned(SERVER_CORE, self.programs / 'https_openssl_memory', self.pem, tls, int(resume),
                   count), check=True, stdout=subprocess.PIPE)
        return {'cpu': float(run.stdout)}

    def run(self, server, tls, resume, requests):
        before = server.cpu()
        result = self.client(server, tls, resume, requests)
        cpu = server.cpu() - before
        if result['answer'] != self.answer:
            raise RuntimeError('the servers give different answers: ' + result['answer'])
        return {'rate': requests / result['seconds'], 'p50': result['p50'], 'p99': result['p99'],
                'cpu': cpu / requests * 1e6, 'share': cpu / result['seconds'] * 100,
                'client': result['client_cpu'] / requests * 1e6}


def sign_rate():
    """RSA signatures in a second of processor time."""
    run = subprocess.run(pinned(SERVER_CORE, 'openssl', 'speed', '-mr', '-seconds', '1', 'rsa2048'),
                         check=True, capture_output=True, text=True)
    return float(re.search(r'^\+F2:\d+:2048:([\d.]+):', run.stdout, re.M).group(1))


def number(value, unit):
    return f'{value:.0f}{unit}' if value >= 100 else f'{value:.1f}{unit}'


def median(runs, key):
    return statistics.median(run[key] for run in runs)


def paired(own, theirs, key):
    """The median of ours divided by theirs of the same round, which met the same machine."""
    return statistics.median(a[key] / b[key] for a, b in zip(own, theirs))


def report_kind(tls, resume, runs, signs):
    kind = f'TLS {tls}, ' + ('resumed' if resume else 'full handshake')
    own = runs['agent']
    for key, what, unit in MEASURES:
        others = [f'{name} {number(median(runs[name], key), unit)} '
                  f'({paired(own, runs[name], key):.2f})' for name in NAMES[1:]]
        table.row('https', f'{kind}: {what}', number(median(own, key), unit), ', '.join(others))
    table.row('https', f'{kind}: the same beside TLS in memory', number(median(own, 'cpu'), ' us'),
              f"OpenSSL without sockets {number(median(runs['memory'], 'cpu'), ' us')} "
              f"({paired(own, runs['memory'], 'cpu'):.2f})")
    if not resume:
        rate = 1e6 / median(own, 'cpu')
        table.row('https', f'{kind}: requests in a second of processor time', number(rate, ''),
                  f'RSA-2048 signatures alone {number(signs, "")} ({rate / signs:.2f})')
    table.row('https', f"{kind}: the client's processor time for a request",
              number(median(own, 'client'), ' us'), '')


def compare_speed(bench):
    runs = {kind: {name: [] for name in (*NAMES, 'memory')} for kind in KINDS}
    signs = []
    with bench.serving(*NAMES) as servers:
        for name in NAMES:
            bench.run(servers[name], '1.3', False, 50)
        for turn in range(ROUNDS):
            signs.append(sign_rate())
            for kind in KINDS:
                # Each round begins with another one.
                for name in NAMES[turn % len(NAMES):] + NAMES[:turn % len(NAMES)]:
                    runs[kind][name].append(bench.run(servers[name], *kind))
                runs[kind]['memory'].append(bench.tls_alone(*kind))
    for kind in KINDS:
        report_kind(*kind[:2], runs[kind], statistics.median(signs))


def hold_idle(bench, tls):
    def load(server):
        with subprocess.Popen(
                [bench.programs / 'https_client', str(server.port), tls, '0',
                 str(IDLE_CONNECTIONS), '0', '0', 'echo'], stdin=subprocess.PIPE,
                stdout=subprocess.PIPE, text=True) as client:
            held = int(client.stdout.readline())
            # The last ones are done for the client before they are for the server.
            spent = -1.0
            while spent != server.cpu():
                spent = server.cpu()
                time.sleep(0.2)
            client.stdin.close()
            if held != IDLE_CONNECTIONS:
                raise RuntimeError(f'only {held} connections are idle')
    return load


def peaks(bench, name, *loads):
    """The peak of a fresh server of that name after each of the loads."""
    with bench.serving(name) as servers:
        found = []
        for load in loads:
            load(servers[name])
            found.append(servers[name].peak())
        return found


def row_of_memory(what, peak, others=''):
    table.row('https memory', what, f'{peak:.1f} MiB', others)


def compare_memory(bench):
    def requests(count, tls, **options):
        return lambda server: bench.client(server, tls, False, count, **options)

    def big(operation):
        return requests(1, '1.3', connections=1, body_size=1 << 20, operation=operation)

    fresh, one, taken = peaks(bench, 'agent', lambda server: None,
                              requests(1, '1.3', connections=1), big('take'))
    row_of_memory('peak of the fresh server', fresh)
    row_of_memory('peak after a short request', one)
    row_of_memory('peak after a request of 1 MiB', taken)
    row_of_memory('peak after a request of 1 MiB, echoed', peaks(bench, 'agent', big('echo'))[0])
    for tls in ('1.3', '1.2'):
        after = peaks(bench, 'agent', requests(1000, tls), requests(9000, tls))
        row_of_memory(f'TLS {tls}: peak after 1,000 requests', after[0])
        row_of_memory(f'TLS {tls}: peak after 10,000 requests', after[1])
    idle = {name: peaks(bench, name, hold_idle(bench, '1.3'))[0]
            for name in ('agent', 'beast', 'nginx')}
    own = idle.pop('agent')
    row_of_memory(f'peak with {IDLE_CONNECTIONS:,} idle connections', own, ', '.join(
        f'{name} {peak:.1f} MiB ({own / peak:.2f})' for name, peak in idle.items()))


def main():
    if len(sys.argv) != 2:
        sys.exit('usage: compare.py FOLDER')
    _, most = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (most, most))
    table.row('https', 'load of the machine before', f'{os.getloadavg()[0]:.1f}',
              f'{len(CORES)} cores')
    with tempfile.TemporaryDirectory() as folder:
        bench = Bench(Path(sys.argv[1]).resolve(), Path(folder))
        compare_speed(bench)
        compare_memory(bench)
    table.row('https', 'load of the machine after', f'{os.getloadavg()[0]:.1f}', '')


if __name__ == '__main__':
    main()
