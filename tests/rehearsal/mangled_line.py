"""A line to a server on which what the server says can be mangled, below its TLS or inside."""

import contextlib
import select
import socket
import ssl
import struct
import subprocess
import threading

from loopback import Loopback

PIECE_BYTES = 16384
CONNECT_SECONDS = 10
SEND_SECONDS = 2  # to somebody who doesn't read on
# Whoever waits behind a fault for more than there is would wait for as long as TCP does.
QUIET_SECONDS = 0.4
RESET = struct.pack('ii', 1, 0)  # close without a goodbye, whatever is still to be sent


def make_certificate(file):
    """A key and a certificate of its own, in one file."""
    subprocess.run(['openssl', 'req', '-x509', '-newkey', 'ec', '-pkeyopt',
                    'ec_paramgen_curve:prime256v1', '-nodes', '-subj', '/CN=localhost', '-keyout',
                    file, '-out', f'{file}.part'], check=True, capture_output=True)
    with open(file, 'ab') as whole, open(f'{file}.part', 'rb') as part:
        whole.write(part.read())


class MangledLine:
    """Passes on what comes to `address`, either way."""

    def __init__(self, port, certificate):
        self._real_port = port
        self._target_port = port
        self._certificate = certificate
        self._plan = None
        self._count = 0
        self._listener = Loopback(self._accepted)
        self.port = self._listener.port
        self.address = self._listener.address

    def arm(self, plan):
        """From now on plan(number) is asked about each connection, the first with 0: it answers the
        connection's Mangling and whether that is inside of TLS, or None. No plan mangles nothing."""
        self._count = 0
        self._plan = plan

    def lead_to(self, port):
        """From now on the server is another; None: the real one."""
        self._target_port = port or self._real_port

    def end(self):
        self._listener.end()

    def _accepted(self, client):
        planned = self._plan(self._count) if self._plan else None
        self._count += 1
        threading.Thread(target=self._serve, args=(client, planned), daemon=True).start()

    def _serve(self, client, planned):
        mangling, inside = planned or (None, False)
        with contextlib.ExitStack() as ends:
            try:
                server = ends.enter_context(self._connect())
                if inside:
                    server = ends.enter_context(self._as_client(server))
                    client = self._as_server(client)
                carry(client, server, mangling)
            except OSError:
                pass  # one of the two has gone, so the other is told
            if mangling and mangling.resets:
                with contextlib.suppress(OSError):
                    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
            client.close()

    def _connect(self):
        return socket.create_connection(('127.0.0.1', self._target_port), CONNECT_SECONDS)

    @staticmethod
    def _as_client(connection):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        return context.wrap_socket(connection)

    def _as_server(self, connection):
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(self._certificate)
        return context.wrap_socket(connection, server_side=True)


def received(source):
    """All that is there: nothing behind the end, None when it was for TLS alone."""
    source.settimeout(0)
    try:
        data = source.recv(PIECE_BYTES)
        while isinstance(source, ssl.SSLSocket) and source.pending():
            data += source.recv(PIECE_BYTES)
        return data
    except ssl.SSLWantReadError:
        return None


def carry(client, server, mangling):
    """Until both have said goodbye, the mangling ends it, or it has made one of them wait."""
    others = {client: server, server: client}
    while others:
        patience = QUIET_SECONDS if mangling and mangling.has_begun else None
        readable = select.select(list(others), [], [], patience)[0]
        if not readable:
            return
        for source in readable:
            data = received(source)
            if data is None:
                continue
            if not data:
                others.pop(source).shutdown(socket.SHUT_WR)
                continue
            if mangling and source is server:
                data = mangling.feed(data)
            others[source].settimeout(SEND_SECONDS)
            others[source].sendall(data)
            if mangling and mangling.ends:
                return
