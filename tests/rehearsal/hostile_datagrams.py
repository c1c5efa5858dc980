"""Servers of names and of the time whose answers can be mangled."""

import contextlib
import socket
import struct
import threading

from mangling import mangled

QUESTION, ANSWER_FLAGS, TRUNCATED, HEADER_BYTES = 0x0001, 0x8180, 0x0200, 12
A, ALIAS, AAAA, IN = 1, 5, 28, 1
# A name that is the question's own: a pointer to what lies behind the header.
OWN_NAME = struct.pack('>H', 0xC000 | HEADER_BYTES)
TOKENS = (OWN_NAME, b'\xc0\x00', b'\xff\xff', b'\x3f' + b'a' * 63, b'\x00', b'\xc0',
          OWN_NAME + struct.pack('>HHIH', A, IN, 60, 0),
          OWN_NAME + struct.pack('>HHIH', A, IN, 60, 0xFFFF),
          OWN_NAME + struct.pack('>HHIH', AAAA, IN, 60, 4) + b'\x01\x02\x03\x04',
          OWN_NAME + struct.pack('>HHIH', ALIAS, IN, 60, 2) + OWN_NAME,
          OWN_NAME + struct.pack('>HHIH', 250, IN, 0xFFFFFFFF, 1) + b'\x00')
LONGEST_DATAGRAM = 65507


def question_of(query):
    """(name, type, the question's bytes)"""
    labels = []
    place = HEADER_BYTES
    while query[place]:
        labels.append(query[place + 1:place + 1 + query[place]].decode())
        place += 1 + query[place]
    kind = struct.unpack_from('>H', query, place + 1)[0]
    return '.'.join(labels).lower(), kind, query[HEADER_BYTES:place + 5]


def name_answer(query, names):
    """What a good server says that knows these names, each with its IPv4 address."""
    name, kind, question = question_of(query)
    answers = b''
    if kind == A and name in names:
        answers = (OWN_NAME + struct.pack('>HHIH', A, IN, 60, 4)
                   + socket.inet_aton(names[name]))
    flags = ANSWER_FLAGS if name in names else ANSWER_FLAGS | 3
    return query[:2] + struct.pack('>HHHHH', flags, 1, bool(answers), 0, 0) + question + answers


def mangled_names(chance, answer):
    """The datagrams in place of an answer."""
    match chance.randrange(8):
        case 0:
            return []
        case 1:
            # Which of its parts the rest is, and how many of them.
            place = 2 + 2 * chance.randrange(5)
            return [answer[:place] + chance.randbytes(2) + answer[place + 2:]]
        case 2:
            return [answer[:2] + struct.pack('>H', ANSWER_FLAGS | TRUNCATED) + answer[4:]]
        case 3:
            records = chance.choice(TOKENS) * chance.choice((1, 20, 200))
            counts = struct.pack('>HHHH', 1, chance.choice((1, 20, 200, 0xFFFF)), 0, 0)
            start = answer.index(b'\0', HEADER_BYTES) + 5
            return [answer[:4] + counts + answer[HEADER_BYTES:start] + records]
        case 4:
            return [chance.randbytes(chance.choice((0, 1, 11, 12, 512, 4096)))]
        case _:
            start = HEADER_BYTES if chance.random() < 0.8 else 0
            return [mangled(chance, answer, tokens=TOKENS, start=start)]


def time_answer(query):
    """Version 3, a server of the second stratum; nobody looks at the time."""
    return bytes((0b00011100, 2, 6, 0xE9)) + bytes(36) + query[40:48]


def mangled_time(chance, answer):
    match chance.randrange(5):
        case 0:
            return []
        case 1:
            return [chance.randbytes(chance.choice((0, 1, 47, 49, 68, LONGEST_DATAGRAM)))]
        case 2:
            return [chance.randbytes(48) for _ in range(chance.choice((2, 200)))]
        case _:
            return [mangled(chance, answer)]


class DatagramServer:
    """Answers at one port of both loopback addresses, and over TCP as servers of names do.
    answers(query) are the datagrams that come back."""

    def __init__(self, answer):
        self._answer = answer
        self._mangle = None
        first = self._bind('127.0.0.1', 0)
        self.port = first.getsockname()[1]
        self._sockets = [first]
        with contextlib.suppress(OSError):
            self._sockets.append(self._bind('::1', self.port))
        for each in self._sockets:
            threading.Thread(target=self._serve, args=(each,), daemon=True).start()
        self._listener = socket.create_server(('127.0.0.1', self.port))
        threading.Thread(target=self._accept, daemon=True).start()

    def arm(self, mangle):
        """From now on mangle(answer) tells the datagrams in place of one; None: the answer itself."""
        self._mangle = mangle

    def end(self):
        for each in (*self._sockets, self._listener):
            with contextlib.suppress(OSError):
                each.shutdown(socket.SHUT_RDWR)
            each.close()

    @staticmethod
    def _bind(host, port):
        made = socket.socket(socket.AF_INET6 if ':' in host else socket.AF_INET, socket.SOCK_DGRAM)
        made.bind((host, port))
        return made

    def _datagrams(self, query):
        answer = self._answer(query)
        return self._mangle(answer) if self._mangle else [answer]

    def _serve(self, own):
        with contextlib.suppress(OSError):
            # Who is shut down hears nothing, of nobody.
            while (received := own.recvfrom(LONGEST_DATAGRAM))[1]:
                query, client = received
                for datagram in self._datagrams(query):
                    # One that is too long for a datagram isn't sent, which is an answer as well.
                    with contextlib.suppress(OSError):
                        own.sendto(datagram, client)

    def _accept(self):
        with contextlib.suppress(OSError):
            while True:
                client, _ = self._listener.accept()
                threading.Thread(target=self._serve_connection, args=(client,), daemon=True).start()

    def _serve_connection(self, client):
        with client, contextlib.suppress(OSError, struct.error):
            client.settimeout(1)
            length = struct.unpack('>H', client.recv(2, socket.MSG_WAITALL))[0]
            query = client.recv(length, socket.MSG_WAITALL)
            for answer in self._datagrams(query):
                client.sendall(struct.pack('>H', min(len(answer), 0xFFFF)) + answer)
