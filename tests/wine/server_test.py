#!/usr/bin/env python3
"""The server of the agent, as its clients see it."""

import hashlib
import json
import re
import socket
import ssl
import subprocess
import sys
from pathlib import Path

from agent_case import ACCEPTED_PASSWORD, WineTest, english, install_single_sign_on, main
from wine_machine import CLIENT, SCRIPTED_AGENT

TREE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / 'tools' / 'rehearsal'))

from processes import free_port  # noqa: E402


def own_address() -> str:
    """The address of an adapter of the host, which Wine shows as the machine's. Empty without one;
    the loopback adapter is none that migrates."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        try:
            probe.connect(('192.0.2.1', 9))  # sends nothing
        except OSError:
            return ''
        return probe.getsockname()[0]


def host_network(*question: str) -> list:
    """What the host says of its network."""
    answer = subprocess.run(['/usr/sbin/ip', '-j', *question], check=True, stdout=subprocess.PIPE)
    return json.loads(answer.stdout)


def interface_of(address: str) -> tuple:
    """The host's interface with an address, and the address's prefix."""
    for link in host_network('address', 'show'):
        for entry in link['addr_info']:
            if entry['local'] == address:
                return link, entry['prefixlen']
    raise AssertionError(f'no interface has {address}')


class Server(WineTest):
    """The agent with checks of credentials that accept one password."""

    REQUEST = {
        'jsonrpc': '2.0', 'id': '1', 'method': 'invoke',
        'params': {
            'serviceId': 'halvard.migrator', 'operationId': 'get_source_deployment_type',
            'input': {'STRUCTURE': {'operation-input': {'json': '{}'}}},
            'ctx': {'appCtx': {}, 'securityCtx': {}}}}

    def setUp(self):
        self.address = own_address()
        if not self.address:
            self.skipTest('the host has no network adapter beside the loopback one')
        super().setUp()
        install_single_sign_on(self.machine)
        folder = self.machine.path(self.machine.variable('LOCALAPPDATA')) / 'Ostrel' / 'Halvard'
        self.certificate = folder / 'hv_cert.pem'
        self.port = free_port()
        self.agent = self.machine.start(self.machine.install_agent(SCRIPTED_AGENT),
                                        '-p', ACCEPTED_PASSWORD, '-o', self.port,
                                        variables={'SCRIPTED_ADDRESS': self.address})
        self.agent.wait_for(english(1021))
        # Of the two families the agent serves the one that the adapter has.
        ipv6 = 'I: SetupAndStartHttpsServer: Setting up Halvard to listen on IPv6 network.'
        self.host = '::1' if ipv6 in self.machine.log() else '127.0.0.1'
        self.thumbprint = re.search(r'SSL thumbprint: (\S+)\n', self.agent.console).group(1)

    def stop(self) -> None:
        self.agent.type('\x03')
        run = self.agent.wait()
        self.assertEqual(run.exit_code, 0)
        self.assertIn(f'{english(1021)}\n', run.console)
        self.assertTrue(run.console.endswith(f'{english(1045)}\n'), run.console)
        log = self.machine.log()
        self.assertIn('I: CtrlHandler: Received ctrl type: 0', log)
        # Nothing is to be opened on Wine.
        self.assertIn('I: TempFirewallException::TempFirewallException: Windows firewall is turned '
                      'off.', log)
        self.assertEqual(self.machine.status(), {
            'initialization': 'success', 'error': None, 'port': str(self.port),
            'thumbprint': self.thumbprint})
        self.assert_no_password_in(run.console)

    def request(self) -> bytes:
        body = json.dumps(self.REQUEST).encode()
        head = (f'POST /api HTTP/1.1\r\nHost: localhost:{self.port}\r\n'
                f'Content-Type: application/json\r\nContent-Length: {len(body)}\r\n\r\n')
        return head.encode() + body

    def exchange(self, version: ssl.TLSVersion) -> tuple:
        """One request over one version of TLS. Returns the version, the thumbprint of the
        certificate, and the answer."""
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_CLIENT)
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        context.minimum_version = context.maximum_version = version
        with socket.create_connection((self.host, self.port), 60) as connection:
            with context.wrap_socket(connection) as tls:
                tls.sendall(self.request())
                answer = b''
                while piece := tls.recv(4096):
                    answer += piece
                digest = hashlib.sha1(tls.getpeercert(binary_form=True)).hexdigest().upper()
                spoken = tls.version()
        pairs = ':'.join(digest[i:i + 2] for i in range(0, len(digest), 2))
        return spoken, pairs, answer

    def assert_answer(self, answer: bytes) -> None:
        head, body = answer.split(b'\r\n\r\n', 1)
        self.assertTrue(head.startswith(b'HTTP/1.1 200 OK\r\n'), head)
        self.assertIn(b'Connection: close', head)
        self.assertIn(b'Content-Length: %d' % len(body), head)
        answered = json.loads(body)
        self.assertEqual(answered['id'], '1')
        self.assertEqual(json.loads(answered['result']['output'])['result'], 'fail')

    def test_answers_over_both_versions_of_tls_with_the_shown_certificate(self):
        for version, name in ((ssl.TLSVersion.TLSv1_2, 'TLSv1.2'),
                              (ssl.TLSVersion.TLSv1_3, 'TLSv1.3')):
            with self.subTest(version=name):
                spoken, thumbprint, answer = self.exchange(version)
                self.assertEqual(spoken, name)
                self.assertEqual(thumbprint, self.thumbprint)
                self.assert_answer(answer)
        self.stop()

    def test_answers_openssl(self):
        _, _, expected = self.exchange(ssl.TLSVersion.TLSv1_3)
        place = f'[{self.host}]' if ':' in self.host else self.host
        for version in ('-tls1_2', '-tls1_3'):
            with self.subTest(version=version):
                # With -quiet it reads on until the server ends the connection.
                client = subprocess.run(
                    ['openssl', 's_client', '-connect', f'{place}:{self.port}', version, '-quiet'],
                    input=self.request(), stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                    timeout=60, check=False)
                self.assertEqual(client.returncode, 0, client.stderr)
                self.assertEqual(client.stdout, expected)
                self.assert_answer(client.stdout)
        self.stop()

    def test_answers_its_own_client(self):
        call = [CLIENT, 'call', 'get_source_deployment_type', '{}', '--host', self.host,
                '--port', self.port, '--thumbprint']
        known = self.machine.run(*call, self.thumbprint)
        self.assertEqual(known.exit_code, 1, known.errors)
        self.assertIn('Required Kelvane Server administrator credentials', known.errors)
        stranger = self.machine.run(*call, '0' * 40)
        self.assertEqual(stranger.exit_code, 4, stranger.errors)
        self.assertIn(self.thumbprint, stranger.errors)
        self.stop()

    def test_collects_the_network_of_the_machine_it_runs_on(self):
        link, prefix = interface_of(self.address)
        request = {'sso_username': 'Administrator@ostrel.local', 'sso_password': ACCEPTED_PASSWORD}
        run = self.machine.run(CLIENT, 'call', 'collect_network_config',
                               json.dumps(request, ensure_ascii=False), '--host', self.host,
                               '--port', self.port, '--thumbprint', self.thumbprint)
        self.assertEqual(run.exit_code, 0, run.errors)
        reply = json.loads(run.console)
        self.assertEqual(reply['config_fqdn'], self.address)
        self.assertEqual(reply['config_adapter_type'], 'Ethernet')
        self.assertEqual(reply['config_mac'], link['address'].upper())
        self.assertEqual(reply['config_ipaddr4'], self.address)
        self.assertEqual(reply['config_prefix4'], prefix)
        self.assertIn(reply['config_ipaddr6'],
                      [entry['local'] for entry in link['addr_info']] + [''])
        gateways = [route['gateway'] for route in host_network('route', 'show', 'default')
                    if route['dev'] == link['ifname']]
        self.assertEqual(reply['config_gateway4'], ', '.join(gateways))
        self.assertEqual((reply['result'], reply['error']), ('success', ''))
        self.stop()

    def test_certificate_lies_beside_its_key_in_the_folder_of_the_agent(self):
        pem = self.certificate.read_text(encoding='ascii')
        self.assertLess(pem.index('BEGIN PRIVATE KEY'), pem.index('BEGIN CERTIFICATE'))
        encoded = pem[pem.index('-----BEGIN CERTIFICATE'):]
        digest = hashlib.sha1(ssl.PEM_cert_to_DER_cert(encoded)).hexdigest().upper()
        self.assertEqual(self.thumbprint.replace(':', ''), digest)
        self.assertTrue(any(line.startswith('I: CreateShortSymbolicLink: Symbolic link ')
                            for line in self.machine.log()))
        self.assertEqual([entry.name for entry in (self.machine.prefix / 'drive_c').iterdir()
                          if entry.is_symlink()], [])
        self.stop()


if __name__ == '__main__':
    sys.exit(main())
