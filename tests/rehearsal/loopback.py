"""A listener on both loopback addresses."""

import contextlib
import socket
import threading


class Loopback:
    """Calls accepted(connection) for each that comes, one after the other in each family."""

    def __init__(self, accepted):
        self._accepted = accepted
        first = socket.create_server(('127.0.0.1', 0))
        self.port = first.getsockname()[1]
        self.address = f'127.0.0.1:{self.port}'
        self._listeners = [first]
        with contextlib.suppress(OSError):
            self._listeners.append(socket.create_server(('::1', self.port), family=socket.AF_INET6))
        for listener in self._listeners:
            threading.Thread(target=self._accept, args=(listener,), daemon=True).start()

    def end(self):
        for listener in self._listeners:
            # Wakes the thread that accepts, which a close alone doesn't.
            with contextlib.suppress(OSError):
                listener.shutdown(socket.SHUT_RDWR)
            listener.close()

    def _accept(self, listener):
        with contextlib.suppress(OSError):
            while True:
                self._accepted(listener.accept()[0])
