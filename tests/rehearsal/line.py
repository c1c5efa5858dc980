"""A line between two programs that can be cut, or fall silent, and be whole again."""

import contextlib
import select
import socket
import struct
import threading
import time

from loopback import Loopback

LOOK_SECONDS = 0.01
PIECE_BYTES = 65536
RESET = struct.pack('ii', 1, 0)  # close without a goodbye, whatever is still to be sent


class Line:
    """Passes on what comes to `address`, either way."""

    def __init__(self, host, port):
        self.target = (host, port)
        self._is_up = True
        self._is_loud = True
        self._cuts = 0
        self._listener = Loopback(self._accepted)
        self.port = self._listener.port
        self.address = self._listener.address

    def cut(self):
        """Resets every connection, and each new one until mend()."""
        self._is_up = False
        self._cuts += 1

    def silence(self):
        """Passes nothing on until mend(); whoever waits isn't told."""
        self._is_loud = False

    def mend(self):
        self._is_up = self._is_loud = True

    def end(self):
        self.cut()
        self._listener.end()

    def _accepted(self, client):
        threading.Thread(target=self._serve, args=(client, self._cuts), daemon=True).start()

    def _serve(self, client, cuts):
        ends = [client]
        try:
            if self._is_up:
                ends.append(socket.create_connection(self.target, 10))
                ends[1].settimeout(None)
                self._carry(*ends, cuts)
        except OSError:
            pass  # one of the two has gone, so the other is told
        for end in ends:
            with contextlib.suppress(OSError):
                end.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
            end.close()

    def _carry(self, client, server, cuts):
        others = {client: server, server: client}
        while others and self._cuts == cuts:
            if not self._is_loud:
                time.sleep(LOOK_SECONDS)
                continue
            for source in select.select(list(others), [], [], LOOK_SECONDS)[0]:
                data = source.recv(PIECE_BYTES)
                if data:
                    others[source].sendall(data)
                else:
                    others.pop(source).shutdown(socket.SHUT_WR)
        if not others:
            # Both have said goodbye; a reset behind it might overtake it.
            client.close()
            server.close()
