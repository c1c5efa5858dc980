"""An SSH server that lies inside its encryption: now and then a message goes out mangled, twice or not at
all, or another one in its place."""

import contextlib
import hashlib
import logging
import socket
import struct
import threading

import paramiko

from mangling import ODD_NUMBERS, Mangling

KEY_BITS = 2048
# About as many messages as there are of a whole copy, from the first of the handshake on.
MESSAGES = 15
LIES = (1, 1, 2, 8)
# How long a client has behind a lie; it may wait for what never comes.
PATIENCE_SECONDS = 0.6
PIECE_BYTES = 65536
FLOOD = 200
TEXTS = (b'', b'x', b'\0' * 8, b'\xff' * 16, b'%s%n', b'x' * 5000)
KINDS_OF_CHANNEL = (b'session', b'x11', b'forwarded-tcpip', b'auth-agent@openssh.com', b'')
KINDS_OF_REQUEST = (b'exit-status', b'exit-signal', b'keepalive@openssh.com', b'')
METHODS = (b'password', b'publickey,keyboard-interactive', b'')


def number(chance):
    return struct.pack('>I', chance.choice(ODD_NUMBERS))


def text(chance, choices=TEXTS):
    """Its length may be another than it says."""
    data = chance.choice(choices)
    return (number(chance) if chance.random() < 0.2 else struct.pack('>I', len(data))) + data


def odd_message(chance):
    """One of those that a client has to read, with odd contents."""
    channel = struct.pack('>I', 0) if chance.random() < 0.8 else number(chance)
    some = chance.randbytes(1)
    forms = (
        lambda: b'\x01' + number(chance) + text(chance) + text(chance),        # disconnect
        lambda: b'\x02' + text(chance),                                        # ignore
        lambda: b'\x03' + number(chance),                                      # unimplemented
        lambda: b'\x04' + some + text(chance) + text(chance),                  # debug
        lambda: b'\x06' + text(chance, (b'ssh-userauth', b'ssh-connection', b'')),
        lambda: b'\x07' + number(chance) + text(chance, (b'server-sig-algs',)) + text(chance),
        lambda: b'\x14' + bytes(16) + b''.join(text(chance) for _ in range(10)) + some + bytes(4),
        lambda: b'\x15',                                                       # new keys
        lambda: b'\x1f' + text(chance) + text(chance) + text(chance),          # of the key exchange
        lambda: b'\x33' + text(chance, METHODS) + some,                        # no login
        lambda: b'\x34',                                                       # login
        lambda: b'\x35' + text(chance) + text(chance),                         # banner
        lambda: b'\x3c' + text(chance) + text(chance),                         # a new password
        lambda: b'\x50' + text(chance) + some + text(chance),                  # global request
        lambda: b'\x5a' + text(chance, KINDS_OF_CHANNEL) + number(chance) * 3 + text(chance)
        + number(chance) + text(chance) + number(chance),                      # open a channel
        lambda: b'\x5b' + channel + number(chance) + number(chance) + number(chance),
        lambda: b'\x5c' + channel + number(chance) + text(chance) + text(chance),
        lambda: b'\x5d' + channel + number(chance),                            # window
        lambda: b'\x5e' + channel + text(chance),                              # data
        lambda: b'\x5f' + channel + number(chance) + text(chance),
        lambda: b'\x60' + channel,                                             # end of file
        lambda: b'\x61' + channel,                                             # close
        lambda: b'\x62' + channel + text(chance, KINDS_OF_REQUEST) + some + text(chance) + some
        + text(chance) + text(chance),
        lambda: chance.choice((b'\x63', b'\x64')) + channel,
        lambda: chance.randbytes(chance.choice((1, 5, 100, 30000))))
    whole = chance.choice(forms)()
    return whole if chance.random() < 0.7 else whole[:chance.randint(1, len(whole))]


class Liar:
    """Stands between a server and its encryption."""

    def __init__(self, chance, begin):
        self._chance = chance
        self._begin = begin
        self._places = {chance.randrange(MESSAGES) for _ in range(chance.choice(LIES))}
        self._count = -1

    def said(self, message):
        """The messages in place of one."""
        self._count += 1
        if self._count not in self._places:
            return [message]
        self._begin()
        chance = self._chance
        match chance.randrange(7):
            case 0:
                return []
            case 1:
                return [message] * chance.choice((2, FLOOD))
            case 2 | 3:
                mangled = Mangling(chance, reaches=(1, 8, 32, 256)).feed(message)
                return [mangled[:PIECE_BYTES]] if mangled else []
            case 4:
                return [odd_message(chance)]
            case 5:
                return [odd_message(chance) for _ in range(chance.choice((1, FLOOD)))] + [message]
            case _:
                return [message, odd_message(chance)]


class LyingTransport(paramiko.Transport):
    def __init__(self, connection, chance):
        super().__init__(connection)
        # Whatever becomes of it, the client isn't to wait longer.
        self._end = threading.Timer(PATIENCE_SECONDS, self._cut, (connection,))
        self._end.daemon = True
        self._liar = Liar(chance, self._begin)
        self._say = self.packetizer.send_message
        self.packetizer.send_message = self._lie

    def _begin(self):
        if not self._end.is_alive():
            with contextlib.suppress(RuntimeError):  # it has been cut already
                self._end.start()

    @staticmethod
    def _cut(connection):
        with contextlib.suppress(OSError):
            connection.shutdown(socket.SHUT_RDWR)

    def _lie(self, message):
        for each in self._liar.said(message.asbytes()):
            self._say(each)


class Appliance(paramiko.ServerInterface):
    """Lets everybody in, and takes what is copied."""

    def get_allowed_auths(self, username):
        return 'password'

    def check_auth_password(self, username, password):
        return paramiko.AUTH_SUCCESSFUL

    def check_channel_request(self, kind, chanid):
        return paramiko.OPEN_SUCCEEDED

    def check_channel_exec_request(self, channel, command):
        threading.Thread(target=take, args=(channel,), daemon=True).start()
        return True


def take(channel):
    with contextlib.suppress(OSError, EOFError):
        channel.sendall(b'\0')
        channel.recv(PIECE_BYTES)
        channel.sendall(b'\0')
        while channel.recv(PIECE_BYTES):
            pass
        channel.sendall(b'\0')
        channel.send_exit_status(0)
        channel.close()


class LyingSshServer:
    def __init__(self):
        logging.getLogger('paramiko').setLevel(logging.CRITICAL + 1)
        self._key = paramiko.RSAKey.generate(KEY_BITS)
        digest = hashlib.sha1(self._key.asbytes()).hexdigest().upper()
        self.thumbprint = ':'.join(digest[place:place + 2] for place in range(0, len(digest), 2))
        self._chance = None
        self._listener = socket.create_server(('127.0.0.1', 0))
        self.port = self._listener.getsockname()[1]
        threading.Thread(target=self._accept, daemon=True).start()

    def arm(self, chance):
        self._chance = chance

    def end(self):
        with contextlib.suppress(OSError):
            self._listener.shutdown(socket.SHUT_RDWR)
        self._listener.close()

    def _accept(self):
        while True:
            try:
                connection, _ = self._listener.accept()
            except OSError:
                return
            transport = LyingTransport(connection, self._chance)
            transport.add_server_key(self._key)
            transport.start_server(threading.Event(), Appliance())
