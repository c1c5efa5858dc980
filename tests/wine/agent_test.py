#!/usr/bin/env python3
"""The product as whole processes under Wine: start-up, discovery, and the server."""

import hashlib
import json
import os
import re
import socket
import ssl
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import wine_machine
from wine_machine import (AGENT, CLIENT, CONSOLE_PROBE, PROCESS_PROBE, SCRIPTED_AGENT, WHOLE_AGENT,
                          Machine, language)

TREE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / 'tools' / 'rehearsal'))

from processes import free_port  # noqa: E402

SKIPPED = 77  # what CTest takes for a test that chose not to run
FAILURE = 255  # -1, of which a host process keeps the lower byte
KELVANE_PRODUCT = '{5C0F4E0B-7B3A-4F0B-9C57-2A6E6D1F5501}'
KELVANE_SERVER_55 = '{A0B1C2D3-1111-4A11-8A11-0000000000A1}'
SINGLE_SIGN_ON_55 = '{A0B1C2D3-3333-4A33-8A33-0000000000C3}'
PASSWORD = 's3cret'
ACCEPTED_PASSWORD = 'right \u00e4\u6771\u4eac'  # by the checks of the scripted agent
PROMPT = 'Enter Administrator@ostrel.local password: '


def read_messages(language: str) -> dict:
    folder = Path(os.environ['HALVARD_MESSAGES'])
    script = (folder / f'messages_{language}.rc').read_text(encoding='utf-8')
    escapes = {r'\n': '\n', r'\\': '\\', '""': '"'}
    return {int(number): re.sub(r'\\n|\\\\|""', lambda match: escapes[match.group()], text)
            for number, text in re.findall(r'^\s*(\d+) "(.*)"$', script, re.MULTILINE)}


MESSAGES = read_messages('en')


def english(number: int, *arguments: str) -> str:
    text = MESSAGES[number]
    for i, argument in enumerate(arguments):
        text = text.replace(f'[{i}]', argument)
    return text


def register_single_sign_on(machine: Machine) -> None:
    machine.register_product('{5C0F4E0B-7B3A-4F0B-9C57-2A6E6D1F5503}', SINGLE_SIGN_ON_55,
                             '5.5.0.2001466')


def set_single_sign_on_port(machine: Machine) -> None:
    machine.set_registry('SOFTWARE\\Ostrel, Inc.\\Ostrel Infrastructure\\SSOServer', 'HttpsPort',
                         '7444')


def install_single_sign_on(machine: Machine) -> None:
    register_single_sign_on(machine)
    set_single_sign_on_port(machine)


class WineTest(unittest.TestCase):
    """A test on a machine of its own, with nothing installed."""

    maxDiff = None

    def setUp(self):
        self.machine = Machine(self.id().removeprefix('__main__.'))
        self.addCleanup(self.machine.remove)

    def without_log_notice(self, console: str) -> str:
        """A failed run's console without the notice where its logs are, which has to be there. Wine
        has no zip folders, so it names the log itself."""
        notice = f'\n{english(1161, self.machine.variable("TEMP"))}'
        match = re.search(re.escape(notice) + r'\\halvard\.log\n', console, re.IGNORECASE)
        self.assertIsNotNone(match, console)
        return console.replace(match.group(), '')

    def assert_no_password_in(self, console: str) -> None:
        for password in (PASSWORD, ACCEPTED_PASSWORD):
            self.assertNotIn(password, console)
            self.assertNotIn(password, self.machine.log_file.read_text(encoding='utf-8'))


class CommandLine(WineTest):

    def test_help_is_printed_and_is_no_failure(self):
        run = self.machine.run(AGENT, '--help')
        self.assertEqual(run.exit_code, 0)
        self.assertTrue(run.console.startswith(english(1138, '6.0.0', '14510545') + ':\n'))
        # The library wraps the descriptions.
        words = ' '.join(run.console.split())
        for option, number in (('-h [ --help ]', 1139), ('-p [ --admin_password ] arg', 1140),
                               ('-a [ --kv_sa_password ] arg', 1141),
                               ('-e [ --export_dir ] arg', 1142), ('-o [ --hv_port ] arg', 1143),
                               ('-i [ --hv_ip ] arg', 1215)):
            self.assertIn(f'{option} ', words)
            self.assertIn(english(number, 'ostrel.local'), words)

    def test_log_lies_in_the_temporary_folder(self):
        self.machine.run(AGENT, '--help')
        self.assertIn('I: HVInit: stdout successfully changed to UTF-8 mode', self.machine.log())
        # Lines end as those of a Windows text file do.
        content = self.machine.log_file.read_bytes()
        self.assertEqual(content.count(b'\r\n'), content.count(b'\n'))

    def test_errors_are_printed_logged_and_end_the_run(self):
        for arguments, reason in (
                (['--bad_option'], "unrecognised option '--bad_option'"),
                (['-h', '--\u6771\u4eac'], "unrecognised option '--\u6771\u4eac'"),
                (['-o', '9123'], "the option '--admin_password' is required but missing"),
                (['-p'], "the required argument for option '--admin_password' is missing"),
                (['-p', PASSWORD, '-o', '9"1 23'],
                 "the argument ('9\"1 23') for option '--hv_port' is invalid"),
                (['"-p s3cret'], "the option '--admin_password' is required but missing")):
            with self.subTest(arguments=arguments):
                run = self.machine.run(AGENT, *arguments)
                self.assertEqual(run.exit_code, FAILURE)
                self.assertEqual(run.console, english(1144, reason) + '\n')
                log = self.machine.log()
                self.assertIn(f'E: ParseCommandLineOptions: {english(1144, reason)}', log)
                self.assertEqual(
                    log[-1], 'E: CreateHVStatusFile: HV_STATUS_JSON property is not a valid json.')
                self.assertIsNone(self.machine.status())
                self.assert_no_password_in(run.console)


class Discovery(WineTest):

    # What a run prints that finds a product whose server or directory then refuses the password, or
    # doesn't answer.
    KELVANE_SERVER_FOUND = (f'{english(1014)}\n{english(1133)}{english(1097)}\n'
                            f'{english(1054)}{english(1058)}\n')
    SINGLE_SIGN_ON_FOUND = (f'{english(1014)}\n{english(1133)}{english(1098)}\n'
                            f'{english(1054)}{english(1050)}\n')
    NOTHING_FOUND = f'{english(1014)}\n{english(1122, "6.0")}\n{english(1123)}\n'

    def run_agent(self) -> str:
        run = self.machine.run(AGENT, '-p', PASSWORD)
        self.assertEqual(run.exit_code, FAILURE)
        self.assert_no_password_in(run.console)
        return self.without_log_notice(run.console)

    def test_machine_without_a_product_is_refused(self):
        self.assertEqual(self.run_agent(), self.NOTHING_FOUND)
        self.assertIn(f'E: DiscoverInstalledProducts: {english(1123)}', self.machine.log())
        self.assertIn('E: ZipDirectory: Failed to get destination folder 0x00000001',
                      self.machine.log())
        self.assertEqual(self.machine.status(), {
            'initialization': 'fail', 'error': english(1123), 'port': None, 'thumbprint': None})

    def test_product_of_the_registry_is_found(self):
        register_single_sign_on(self.machine)
        self.assertEqual(self.run_agent(), f'{english(1014)}\n{english(1121)}\n')
        set_single_sign_on_port(self.machine)
        self.assertEqual(self.run_agent(), self.SINGLE_SIGN_ON_FOUND)
        # Wine's LDAP client has no TLS.
        self.assertIn('E: ConnectToLdapServer: Failed to turn on LDAP SSL option. '
                      'Error code: 92', self.machine.log())

    def test_installed_package_is_found_until_it_is_removed(self):
        package = 'Z:' + os.environ['HALVARD_PACKAGE'].replace('/', '\\')
        self.assertEqual(self.machine.run('msiexec', '/i', package, '/qn').exit_code, 0)
        self.assertEqual(self.run_agent(), f'{english(1014)}\n{english(1127)}\n')
        self.assertIn('E: QueryServiceConfigW: OpenService failed for kelvd service. '
                      'Error code: 1060.', self.machine.log())
        self.machine.register_service('kelvd')
        self.assertEqual(self.run_agent(), self.KELVANE_SERVER_FOUND)
        # Nobody listens there.
        failure = ('W: ValidateKvAdminCredentials: Failed to validate KV credentials. '
                   'Host:localhost, Port:')
        self.assertTrue(any(line.startswith(failure) for line in self.machine.log()))
        self.assertEqual(self.machine.run('msiexec', '/x', KELVANE_PRODUCT, '/qn').exit_code, 0)
        self.assertEqual(self.run_agent(), self.NOTHING_FOUND)


class RedirectedOutput(WineTest):
    """What a file gets that the console's text is sent to."""

    LANGUAGES = {'de': 'de_DE', 'en': 'en_US', 'es': 'es_ES', 'fr': 'fr_FR', 'ja': 'ja_JP', 'ko': 'ko_KR',
                 'zh_CN': 'zh_CN', 'zh_TW': 'zh_TW'}

    def assert_lines_end_as_in_windows(self, output: bytes) -> None:
        self.assertEqual(output.count(b'\r\n'), output.count(b'\n'))
        self.assertEqual(output.count(b'\r\n'), output.count(b'\r'))

    def test_is_utf8_in_each_language(self):
        for name, host in self.LANGUAGES.items():
            with self.subTest(language=name):
                messages = read_messages(name)
                run = self.machine.run(AGENT, '-p', PASSWORD, variables=language(host))
                self.assertEqual(run.exit_code, FAILURE)
                refusal = messages[1122].replace('[0]', '6.0')
                expected = f'{messages[1014]}\n{refusal}\n{messages[1123]}\n'
                self.assertEqual(run.console[:len(expected)], expected)
                self.assert_lines_end_as_in_windows(run.output)
                self.assertFalse(run.output.startswith(b'\xef\xbb\xbf'))
                # It would stay English where a thread's language can be changed.
                self.assertIn(f'E: DiscoverInstalledProducts: {messages[1123]}', self.machine.log())

    def test_records_of_the_framework_stand_between_the_agents_own_lines(self):
        run = self.machine.run(CONSOLE_PROBE)
        self.assertEqual(run.exit_code, 0)
        lines = run.console.splitlines()
        self.assertEqual(len(lines), 3, run.console)
        self.assertEqual(lines[0], 'before \u00e4 \u6771\u4eac \U0001f600')
        self.assertRegex(lines[1], r'^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}\] \[0x[0-9a-f]+\] '
                                   '\\[warning\\] record \u00e4 \u6771\u4eac$')
        self.assertEqual(lines[2], 'after')
        self.assert_lines_end_as_in_windows(run.output)


class Child(WineTest):
    """A child process of the agent. The lines are those of the native build's own tests."""

    FOLDER = 'C:\\windows\\system32\\'

    def log_of(self, ending, code):
        """Runs a child that ends with the code. Returns the log, without the ids of the process."""
        line = f'"{self.FOLDER}cmd.exe" /c exit {code}'
        run = self.machine.run(PROCESS_PROBE, line)
        self.assertEqual(run.exit_code, ending)
        log = [re.sub(r'pid \d+ tid \d+', 'pid N tid N', entry) for entry in self.machine.log()]
        self.assertEqual(log[0], 'I: LaunchProcAndMonitorStatus: Launching '
                                 f'"{line}" in "{self.FOLDER}"')
        return log[1:]

    def test_success_is_logged_step_by_step(self):
        self.assertEqual(self.log_of(0, 0), [
            'I: LaunchProcAndMonitorStatus: Launched process with pid N tid N',
            'I: MonitorStatusFile: Started execution of process',
            'I: MonitorStatusFile: Other process terminated with 0, exiting',
            'I: MonitorStatusFile: Process exited with a \'0\' exit code; no status monitoring so '
            'assuming success',
            'I: MonitorStatusFile: called parse callback 0 times',
            'I: MonitorStatusFile: No need to wait for process to complete',
            'I: MonitorStatusFile: Process\'s job tree still hasn\'t terminated, waiting',
            'I: MonitorStatusFile: Wait on process\'s job tree has completed: 0',
            'W: LaunchProcAndMonitorStatus: Job still alive, terminating'])

    def test_failure_is_logged_with_its_code(self):
        log = self.log_of(1, 1603)
        self.assertIn('I: MonitorStatusFile: Other process terminated with 1603, exiting', log)
        self.assertIn('E: MonitorStatusFile: Process exited with a non-zero exit code; no status '
                      'monitoring so assuming failure', log)
        self.assertEqual(log[-2:], [
            'E: LaunchProcAndMonitorStatus: Failure detected while monitoring status file',
            'W: LaunchProcAndMonitorStatus: Job still alive, terminating'])


class KelvaneServer(WineTest):
    """The agent as it is, against a Kelvane Server of the lab."""

    def setUp(self):
        program = Path(os.environ['HALVARD_KELVANE_SERVER'])
        if not program.exists():
            self.skipTest(f'{program} is not built: run ./check --windows, or ninja kelvane-server')
        super().setUp()
        folder = self.enterContext(tempfile.TemporaryDirectory())
        self.journal = Path(folder) / 'journal'
        config = {'users': [{'name': 'Administrator@ostrel.local', 'password': ACCEPTED_PASSWORD}],
                  'inventory': {'hosts': 12, 'machines': 2345}}
        server = subprocess.Popen([program, '--config', '-', '--record', self.journal],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE)
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        self.addCleanup(server.stdout.close)
        server.stdin.write(json.dumps(config).encode())
        server.stdin.close()
        self.server = json.loads(server.stdout.readline())
        self.machine.register_product(KELVANE_PRODUCT, KELVANE_SERVER_55, '5.5.0.2001466')
        self.machine.set_registry('SOFTWARE\\Ostrel, Inc.\\Ostrel Kelvane', 'HttpsProxyPort',
                                  str(self.server['port']))

    def operations(self) -> list:
        """What the server was asked, in order. It refused nothing as ill said."""
        lines = [json.loads(line) for line in self.journal.read_text(encoding='utf-8').splitlines()]
        self.assertNotIn('refused', [line.get('outcome') for line in lines])
        return [line['operation'] for line in lines if line['event'] == 'request']

    def test_proves_the_password_and_counts_the_inventory(self):
        self.machine.register_service('kelvd')
        agent = self.machine.install_agent(WHOLE_AGENT)
        run = self.machine.run(agent, '-p', ACCEPTED_PASSWORD)
        log = self.machine.log()
        self.assertIn('I: ValidateKvAdminCredentials: Successfully validated KV credentials for '
                      f'Host:localhost, Port:{self.server["port"]}, TunnelPath:, '
                      'User:Administrator@ostrel.local.', log)
        pages = [line for line in log if line.startswith('I: GetNumVMs: Aggregated vm count: ')]
        self.assertEqual([line.rsplit(' ', 1)[1] for line in pages], ['1000', '2000', '2345'])
        self.assertIn('I: GetInventorySize: Inventory size retrieved. Hosts:12, VMs:2345', log)
        self.assertEqual(self.operations(), [
            'RetrieveContent', 'Login', 'Logout', 'RetrieveContent', 'Login', 'RetrieveProperties',
            'RetrieveProperties', 'ContinueRetrieveProperties', 'ContinueRetrieveProperties',
            'Logout'])
        self.assert_no_password_in(run.console)

    def test_wants_the_password_of_its_services_account(self):
        account = '.\\kelvd-service'
        self.machine.register_service('kelvd', account)
        run = self.machine.run(AGENT, '-p', ACCEPTED_PASSWORD)
        self.assertEqual(run.exit_code, FAILURE)
        self.assertEqual(self.without_log_notice(run.console),
                         f'{english(1014)}\n{english(1158, account)}\n')
        self.assert_no_password_in(run.console)

    def test_is_refused_with_a_wrong_password(self):
        self.machine.register_service('kelvd')
        run = self.machine.run(AGENT, '-p', PASSWORD)
        self.assertEqual(run.exit_code, FAILURE)
        self.assertEqual(self.without_log_notice(run.console), Discovery.KELVANE_SERVER_FOUND)
        self.assertEqual(self.operations(), ['RetrieveContent', 'Login'])
        self.assert_no_password_in(run.console)


class Console(WineTest):

    def setUp(self):
        super().setUp()
        install_single_sign_on(self.machine)

    def test_second_instance_ends_while_the_first_waits_for_its_password(self):
        first = self.machine.start(AGENT)
        first.wait_for(PROMPT)
        second = self.machine.run(AGENT, '-p', PASSWORD)
        self.assertEqual(second.exit_code, FAILURE)
        self.assertEqual(second.console, f'{english(1014)}\n{english(1046)}\n')
        self.assertIn(f'E: HVInit: {english(1046)}', self.machine.log())

    def test_three_wrong_passwords_at_the_console_end_the_run(self):
        agent = self.machine.start(AGENT)
        for attempt in range(3):
            agent.wait_until(lambda: agent.console.count(PROMPT) > attempt, 'a prompt')
            agent.type(PASSWORD)
            # The console reads keys from here on; a return that came before would be a line end.
            stars = len(PASSWORD) * (attempt + 1)
            agent.wait_until(lambda: agent.console.count('*') >= stars, 'the password\'s stars')
            agent.type('\r')
        agent.wait_for(english(1126))
        agent.type('\r')
        run = agent.wait()
        self.assertEqual(run.exit_code, FAILURE)
        asked = f'{PROMPT}{"*" * len(PASSWORD)}\n{english(1050)}\n'
        self.assertEqual(self.without_log_notice(run.console),
                         f'{english(1014)}\n{asked * 3}{english(1042)}\n{english(1126)}\n')
        self.assert_no_password_in(run.console)


    def test_backspace_takes_a_star_back_and_nothing_more(self):
        agent = self.machine.start(AGENT)
        agent.wait_for(PROMPT)
        agent.type('\x7f' + 'xy\x7f' + '\r')
        agent.wait_until(lambda: agent.console.count(PROMPT) > 1, 'the second prompt')
        self.assertIn(f'{PROMPT}**\b \b\n', agent.console)


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
        run = self.machine.run(CLIENT, 'call', 'collect_network_config', json.dumps(request, ensure_ascii=False),
                               '--host', self.host, '--port', self.port,
                               '--thumbprint', self.thumbprint)
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


def main() -> int:
    wine_machine.make_pristine_machine()
    result = unittest.main(verbosity=2, exit=False).result
    for test, reason in result.skipped:
        # In the words that the sum of all tests looks for.
        print(f'agent_test.py: Skipped\n{reason}\n[  SKIPPED ] {test.id()}')
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.testsRun == len(result.skipped) else 0


if __name__ == '__main__':
    sys.exit(main())
