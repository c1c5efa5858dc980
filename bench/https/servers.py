"""The HTTPS servers that are compared: processes on one core, which serve until they are stopped.

All have the same certificate, protocols, curve and ciphers, and remember sessions alike.
"""

import os
import re
import socket
import subprocess
import tempfile
import time
from pathlib import Path

CORES = sorted(os.sched_getaffinity(0))
SERVER_CORE, CLIENT_CORE = CORES[0], CORES[-1]
# As in tls_settings.h.
CIPHERS = '!aNULL:kECDH+AESGCM:ECDH+AESGCM:RSA+AESGCM:kECDH+AES:ECDH+AES:RSA+AES'
NGINX = '''
{user}
daemon off;
worker_processes 1;
pid {folder}/nginx.pid;
error_log stderr crit;
events {{ worker_connections 4096; }}
http {{
  access_log off;
  server_tokens off;
  client_body_temp_path {folder}/body;
  proxy_temp_path {folder}/proxy;
  fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi;
  scgi_temp_path {folder}/scgi;
  server {{
    listen 127.0.0.1:{port} ssl;
    ssl_certificate {pem};
    ssl_certificate_key {pem};
    ssl_protocols TLSv1.2 TLSv1.3;
    ssl_ecdh_curve prime256v1;
    ssl_ciphers {ciphers};
    ssl_session_cache builtin:1024;
    default_type application/json;
    location /api {{ {content} }}
  }}
}}
'''


def pinned(core, *command):
    return ['taskset', '-c', str(core), *map(str, command)]


def make_certificate(folder):
    """Makes a self-signed RSA-2048 certificate; the file returned also holds its key."""
    subprocess.run(['openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-subj',
                    '/CN=localhost', '-days', '2', '-keyout', folder / 'key', '-out',
                    folder / 'cert'], check=True, capture_output=True)
    pem = folder / 'server.pem'
    pem.write_text((folder / 'cert').read_text() + (folder / 'key').read_text())
    return pem


class Server:
    """A process of ours, which prints its port and serves until its standard input ends."""

    def __init__(self, *command):
        self.process = subprocess.Popen(pinned(SERVER_CORE, *command), stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, text=True)
        self.port = int(self.process.stdout.readline())
        self.pid = self.process.pid

    def stop(self):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()

    def cpu(self):
        """Seconds on the processor, in user and kernel, of all its threads."""
        tasks = Path(f'/proc/{self.pid}/task').glob('*/schedstat')
        return sum(int(task.read_text().split()[0]) for task in tasks) / 1e9

    def peak(self):
        """The most memory that was resident so far, in MiB."""
        status = Path(f'/proc/{self.pid}/status').read_text()
        return int(re.search(r'VmHWM:\s*(\d+)', status).group(1)) / 1024


class Nginx(Server):
    """A master and its one worker; the worker is what is measured.

    The content says, in nginx's words, what it answers at /api.
    """

    def __init__(self, folder, pem, content):
        with socket.create_server(('127.0.0.1', 0)) as free:
            self.port = free.getsockname()[1]
        home = Path(tempfile.mkdtemp(dir=folder))
        (home / 'nginx.conf').write_text(NGINX.format(
            user='user root root;' if os.geteuid() == 0 else '', folder=home, port=self.port,
            pem=pem, ciphers=CIPHERS, content=content))
        self.process = subprocess.Popen(pinned(
            SERVER_CORE, '/usr/sbin/nginx', '-e', 'stderr', '-p', home, '-c', home / 'nginx.conf'))
        self.pid = self._worker()

    def _worker(self):
        pid = self.process.pid
        for _ in range(500):
            if self.process.poll() is not None:
                break
            children = Path(f'/proc/{pid}/task/{pid}/children').read_text().split()
            if children and (Path(f'/proc/{children[0]}/cmdline').read_text()
                             .startswith('nginx: worker')):
                return int(children[0])
            time.sleep(0.01)
        self.stop()
        raise RuntimeError('nginx has no worker')

    def stop(self):
        self.process.terminate()
        self.process.wait()
