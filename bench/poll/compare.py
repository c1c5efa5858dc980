#!/usr/bin/env python3
"""A poll of a running export beside the same bytes as a file of nginx's: compare.py PROGRAM.

curl fetches both, each time as a process of its own with a new connection. The runs are interleaved;
the server has one core, curl another. See docs/performance.md.
"""

import json
import os
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
sys.path.insert(0, str(Path(__file__).resolve().parent.parent / 'https'))
import table  # noqa: E402  (in the folder above)
from servers import CLIENT_CORE, Nginx, Server, make_certificate, pinned  # noqa: E402

ROUNDS = int(os.environ.get('HALVARD_BENCH_ROUNDS', '9')) * 3
SIZES = (1 << 10, 1 << 20)
INPUT = {'locale': 'en', 'sso_username': 'administrator@ostrel.local', 'sso_password': 'secret'}
REQUEST = {'jsonrpc': '2.0', 'id': '1', 'method': 'invoke', 'params': {
    'serviceId': 'halvard.migrator', 'operationId': 'poll_export_status',
    'input': {'STRUCTURE': {'operation-input': {'json': json.dumps(INPUT)}}},
    'ctx': {'appCtx': {}, 'securityCtx': {}}}}
POST = ('-H', 'Content-Type: application/json', '--data-binary', json.dumps(REQUEST))


def fetch(server, target, options):
    """Fetches /api into a file. Returns milliseconds of the transfer, and of the server's core."""
    before = server.cpu()
    run = subprocess.run(
        pinned(CLIENT_CORE, 'curl', '--silent', '--show-error', '--fail', '--insecure', '--output',
               target, '--write-out', '%{time_total}', *options,
               f'https://127.0.0.1:{server.port}/api'),
        check=True, stdout=subprocess.PIPE, text=True)
    return float(run.stdout) * 1e3, (server.cpu() - before) * 1e3


def expect_document(body, size):
    answer = json.loads(body.read_text())
    document = json.loads(answer['result']['output'])
    if document['status'] != 'running' or len(json.dumps(document)) < size:
        raise RuntimeError('the agent answered something else: ' + body.read_text()[:200])


def compare(program, size, folder):
    pem = make_certificate(folder)
    body, other = folder / 'body', folder / 'other'
    agent = Server(program, pem, size)
    try:
        fetch(agent, body, POST)
        expect_document(body, size)
        nginx = Nginx(folder, pem, f'alias {body};')
        try:
            runs = [(fetch(agent, other, POST), fetch(nginx, other, ())) for _ in range(ROUNDS)]
        finally:
            nginx.stop()
        if other.read_bytes() != body.read_bytes():
            raise RuntimeError('the servers give different answers')
    finally:
        agent.stop()
    what = f'poll of a document of {size // 1024:,} KiB, answer of {body.stat().st_size // 1024:,} KiB'
    for column, name in enumerate(('from connect to the last byte', 'processor time of the server')):
        own = [run[0][column] for run in runs]
        theirs = [run[1][column] for run in runs]
        ratio = statistics.median(a / b for a, b in zip(own, theirs))
        table.row('poll', f'{what}: {name}', f'{statistics.median(own):.1f} ms',
                  f'nginx {statistics.median(theirs):.1f} ms ({ratio:.2f})')


def main():
    if len(sys.argv) != 2:
        sys.exit('usage: compare.py PROGRAM')
    for size in SIZES:
        with tempfile.TemporaryDirectory() as folder:
            # nginx's worker may be another user.
            os.chmod(folder, 0o755)
            compare(Path(sys.argv[1]).resolve(), size, Path(folder))


if __name__ == '__main__':
    main()
