"""The manners of clients that nobody wants. Each is a function of an address and a source of chance;
it returns how many requests it has made. A server may answer, refuse or close as it likes; a client
that is told so goes its way."""

import contextlib
import json
import socket
import ssl
import struct
import subprocess
import time

RESET = struct.pack('ii', 1, 0)
PATIENCE_SECONDS = 30
READ_LIMIT = 1 << 20
ENVELOPE = ('{"jsonrpc": "2.0", "id": "1", "method": "invoke", "params": {"serviceId": '
            '"halvard.migrator", "operationId": %s, "input": {"STRUCTURE": {"operation-input": '
            '{"json": %s}}}, "ctx": {"appCtx": {}, "securityCtx": {}}}}')


def tls_context(newest=None):
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
    context.check_hostname = False
    context.verify_mode = ssl.CERT_NONE
    if newest:
        context.maximum_version = newest
    return context


def connect(address):
    return socket.create_connection(address, PATIENCE_SECONDS)


@contextlib.contextmanager
def tls(address, newest=None):
    with connect(address) as plain, tls_context(newest).wrap_socket(plain) as secured:
        yield secured


def abort(connection):
    connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET)
    connection.close()


def read_to_the_end(connection):
    count = 0
    with contextlib.suppress(OSError):
        while (data := connection.recv(65536)) and count < READ_LIMIT:
            count += len(data)


def http(body, path='/api', more='', method='POST'):
    body = body if isinstance(body, bytes) else body.encode()
    head = (f'{method} {path} HTTP/1.1\r\nHost: agent\r\nContent-Type: application/json\r\n'
            f'Content-Length: {len(body)}\r\n{more}\r\n')
    return head.encode() + body


def request(operation='get_source_deployment_type', **members):
    document = {'locale': 'en', 'sso_username': 'Administrator@ostrel.local', **members}
    return ENVELOPE % (json.dumps(operation), json.dumps(json.dumps(document)))


def send(address, data):
    with tls(address) as connection:
        connection.sendall(data)
        read_to_the_end(connection)
    return 1


# Below TLS.

def say_nothing(address, _chance):
    abort(connect(address))
    return 1


def talk_garbage(address, chance):
    with connect(address) as connection:
        connection.sendall(chance.randbytes(chance.randint(1, 4096)))
        connection.shutdown(socket.SHUT_WR)
        read_to_the_end(connection)
    return 1


def talk_plainly(address, _chance):
    with connect(address) as connection:
        connection.sendall(http(request()))
        connection.shutdown(socket.SHUT_WR)
        read_to_the_end(connection)
    return 1


def client_hello():
    incoming, outgoing = ssl.MemoryBIO(), ssl.MemoryBIO()
    with contextlib.suppress(ssl.SSLWantReadError):
        tls_context().wrap_bio(incoming, outgoing).do_handshake()
    return outgoing.read()


def leave_handshake(address, chance):
    """Half a greeting, or a whole one and then nothing."""
    hello = client_hello()
    connection = connect(address)
    connection.sendall(hello[:chance.choice((1, 5, 6, len(hello) // 2, len(hello) - 1, len(hello)))])
    if chance.random() < 0.5:
        with contextlib.suppress(OSError):
            connection.settimeout(0.05)
            connection.recv(65536)
    abort(connection)
    return 1


def mutate_handshake(address, chance):
    hello = bytearray(client_hello())
    for _ in range(chance.randint(1, 8)):
        hello[chance.randrange(len(hello))] = chance.randrange(256)
    with connect(address) as connection:
        connection.sendall(hello)
        connection.shutdown(socket.SHUT_WR)
        read_to_the_end(connection)
    return 1


def renegotiate(address, chance):
    """Asks for a new handshake in the old protocol, or for ever new keys in the new one."""
    host, port = address
    host = f'[{host}]' if ':' in host else host
    old = chance.random() < 0.5
    keys = 'R\n' * 5 if old else 'K\n' * 60
    subprocess.run(['openssl', 's_client', '-connect', f'{host}:{port}',
                    '-tls1_2' if old else '-tls1_3'], input=keys, capture_output=True, text=True,
                   timeout=PATIENCE_SECONDS, check=False)
    return 1


# HTTP.

def malform(address, chance):
    data = bytearray(http(request(sso_password='x')))
    for _ in range(chance.choice((1, 1, 1, 4, 64))):
        place = chance.randrange(len(data))
        match chance.randrange(3):
            case 0:
                data[place] = chance.randrange(256)
            case 1:
                del data[place]
            case _:
                data[place:place] = chance.randbytes(chance.randint(1, 8))
    with tls(address) as connection:
        connection.sendall(data)
        # Tells a server that waits for more that none will come.
        abort(connection) if chance.random() < 0.5 else shut_and_read(connection)
    return 1


def shut_and_read(connection):
    with contextlib.suppress(OSError):
        connection.shutdown(socket.SHUT_WR)
    read_to_the_end(connection)


ODD_REQUESTS = (
    b'GET /api HTTP/1.1\r\n\r\n', b'POST /api HTTP/9.9\r\n\r\n', b'\r\n\r\n\r\n', b'\0' * 64,
    b'POST /api HTTP/1.1\r\nContent-Length: -1\r\n\r\n',
    b'POST /api HTTP/1.1\r\nContent-Length: 99999999999999999999\r\n\r\n',
    b'POST /api HTTP/1.1\r\nContent-Length: 5\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n',
    b'POST /api HTTP/1.1\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n'
    b'ffffffffffffffff\r\nabc\r\n',
    b'POST /api HTTP/1.1\r\nContent-Type: application/json\r\nTransfer-Encoding: chunked\r\n\r\n'
    b'zz\r\n\r\n',
    b'POST /api HTTP/1.1\r\nContent-Type: text/plain\r\nContent-Length: 3\r\n\r\nabc',
    b'POST /api HTTP/1.1\r\nBad Header: x\r\n\r\n', b'PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n')


def be_odd(address, chance):
    with tls(address) as connection:
        connection.sendall(chance.choice(ODD_REQUESTS))
        shut_and_read(connection)
    return 1


def be_huge(address, chance):
    match chance.randrange(5):
        case 0:
            data = http('{}', path='/' + 'x' * (300 << 10))
        case 1:
            data = http('{}', more='X-Huge: ' + 'x' * (2 << 20) + '\r\n')
        case 2:
            data = http('{}', more=''.join(f'X-{i}: y\r\n' for i in range(50_000)))
        case 3:
            data = http('[' + '1,' * (1 << 20) + '1]')
        case _:
            data = http(request(sso_password='x' * (2 << 20)))
    with contextlib.suppress(OSError):
        return send(address, data)
    return 1


def be_slow(address, chance):
    data = http(request(sso_password='x'))
    with tls(address) as connection:
        for i in range(0, len(data), 64):
            connection.sendall(data[i:i + 64])
            time.sleep(chance.uniform(0, 0.005))
        read_to_the_end(connection)
    return 1


def leave(address, chance):
    """Breaks off somewhere in the request, or behind it, framed or plain."""
    more = chance.choice(('', 'Accept: application/vnd.ostrel.krova.framed\r\n'))
    data = http(request(sso_password='x'), more=more)
    with connect(address) as plain:
        connection = tls_context().wrap_socket(plain)
        connection.sendall(data[:chance.randint(0, len(data))])
        abort(connection)
    return 1


def pipeline(address, chance):
    """Many in one piece; the first one for the API ends the connection."""
    count = chance.randint(50, 400)
    data = http('', path='/nope', method='GET') * count
    if chance.random() < 0.3:
        data += http(request(sso_password='x')) * 5
    with tls(address) as connection:
        connection.sendall(data)
        with contextlib.suppress(OSError):
            connection.settimeout(0.5)
            left = count
            while left > 0 and (answer := connection.recv(65536)):
                left -= answer.count(b'HTTP/1.1 404')
        abort(connection)
    return count


# JSON.

def nest(address, chance):
    depth = chance.choice((500, 10_000, 100_000))
    opening, closing = chance.choice((('[', ']'), ('{"a":', '}'), ('{"STRUCTURE":{"a":', '}}')))
    deep = opening * depth + '1' + closing * (depth if chance.random() < 0.5 else 0)
    match chance.randrange(3):
        case 0:
            body = deep
        case 1:
            body = ENVELOPE % ('"get_source_deployment_type"', deep)
        case _:
            body = ENVELOPE % ('"get_source_deployment_type"', json.dumps(deep))
    return send(address, http(body))


def confuse(address, chance):
    """Well-formed, and nothing that anybody would ask."""
    body = chance.choice((
        '[]', 'null', '0', '""', '{"jsonrpc": "2.0"}', '{"jsonrpc": "2.0", "id": {}}', '\ufeff{}',
        request('no_such_operation'), request(None), request(sso_username=[1]),
        request(sso_password={'a': 1}), ENVELOPE % ('"shutdown_machine"', '17'),
        ENVELOPE % ('"poll_export_status"', json.dumps('not JSON')),
        ENVELOPE % ('"copy_export_data"', json.dumps('[[[')), '{"a": "\\ud800"}', '1e999999'))
    data = body.encode('utf-8', 'surrogatepass')
    if chance.random() < 0.2:
        data += b'\xff\xfe\xc0\x80'
    return send(address, http(data))


OPERATIONS = ('get_source_deployment_type', 'invoke_pre_upgrade', 'get_cached_pre_upgrade_result',
              'collect_active_directory_config', 'collect_network_config', 'invoke_export',
              'poll_export_status', 'create_answer_file', 'copy_export_data',
              'copy_logs_directory', 'shutdown_machine', 'shutdown_hv',
              'validate_active_directory_credentials')


def guess(address, chance):
    """A password that is none."""
    data = http(request(chance.choice(OPERATIONS), sso_password=f'guess {chance.random()}'))
    with tls(address) as connection:
        connection.sendall(data)
        answer = b''
        while piece := connection.recv(65536):
            answer += piece
    if b'\\"fail\\"' not in answer:
        raise AssertionError(f'a wrong password is answered {answer!r}')
    return 1


# How often each is chosen: those that cost the server or this host much are rare.
WEIGHTS = {say_nothing: 10, talk_garbage: 10, talk_plainly: 5, leave_handshake: 10,
           mutate_handshake: 10, renegotiate: 0.2, malform: 20, be_odd: 10, be_huge: 0.5, be_slow: 2,
           leave: 10, pipeline: 10, nest: 2, confuse: 10, guess: 3}
EVERYONE = tuple(WEIGHTS)
