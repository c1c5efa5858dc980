#!/usr/bin/env python3
"""What the agent finds on its machine, and the Kelvane Server that it proves the password to."""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

from agent_case import (ACCEPTED_PASSWORD, FAILURE, PASSWORD, WineTest, english, main,
                        register_single_sign_on, set_single_sign_on_port)
from wine_machine import AGENT, WHOLE_AGENT

KELVANE_PRODUCT = '{5C0F4E0B-7B3A-4F0B-9C57-2A6E6D1F5501}'
KELVANE_SERVER_55 = '{A0B1C2D3-1111-4A11-8A11-0000000000A1}'


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


if __name__ == '__main__':
    sys.exit(main())
