"""What the threat model says of an agent that serves, seen from outside."""

import json
import subprocess
import sys
import unittest
import urllib.request
from pathlib import Path

import programs

FOLDER = programs.take_folder()

import phases  # noqa: E402
from api_client import trusting_context  # noqa: E402
from installer import host_of  # noqa: E402

GUESSES = 50
PARSE_ERROR = -32700


class Claims(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        programs.skip_without_appliance(FOLDER)
        cls.world = phases.Surroundings(FOLDER)
        cls.addClassCleanup(cls.world.end)
        cls.world.renew()
        cls.scenario = phases.Scenario(cls.world)
        cls.addClassCleanup(cls.scenario.end)
        cls.scenario.reach('serving')

    @property
    def place(self):
        status = self.scenario.status
        return f'{programs.url_host(host_of(status))}:{status["port"]}'

    def post(self, body):
        request = urllib.request.Request(f'https://{self.place}/api', data=body.encode(),
                                         headers={'Content-Type': 'application/json'})
        with urllib.request.urlopen(request, context=trusting_context()) as answer:
            return json.loads(answer.read())

    def test_body_is_parsed_before_anybody_is_known(self):
        self.assertEqual(self.post('{"no": ')['error']['code'], PARSE_ERROR)
        reply = self.scenario.call('get_source_deployment_type', sso_password='')
        self.assertEqual(reply, {'result': 'fail', 'error': self.world.messages.text(1096)})

    def test_wrong_passwords_lock_nobody_out(self):
        for number in range(GUESSES):
            reply = self.scenario.call('get_source_deployment_type', sso_password=f'no {number}')
            self.assertEqual(reply['error'], self.world.messages.text(1098))
        reply = self.scenario.call('get_source_deployment_type')
        self.assertEqual(reply['result'], 'success')

    def test_renegotiation_is_refused(self):
        asked = subprocess.run(['openssl', 's_client', '-connect', self.place, '-tls1_2'],
                               input='R\n', capture_output=True, text=True, check=False)
        self.assertIn('RENEGOTIATING', asked.stdout + asked.stderr)
        self.assertIn('no renegotiation', asked.stderr)
        self.assertEqual(asked.returncode, 1)

    def test_password_of_the_command_line_shows_in_the_list_of_processes(self):
        words = Path(f'/proc/{self.scenario.agent.pid}/cmdline').read_bytes().split(b'\0')
        self.assertIn(self.world.password.encode(), words)

    def test_local_server_may_have_any_certificate(self):
        """The agent has logged in there, although nobody could verify whom it talks to."""
        url = f'https://localhost:{self.world.server.facts["port"]}/'
        with self.assertRaisesRegex(OSError, 'CERTIFICATE_VERIFY_FAILED'):
            urllib.request.urlopen(url)  # pylint: disable=consider-using-with; it never opens
        reply = self.scenario.call('get_source_deployment_type')
        self.assertEqual(reply['result'], 'success')

    def test_export_stays_in_the_clear(self):
        self.scenario.call('invoke_export', silent=True)
        phases.wait_until(lambda: 'Changing the status of export result to: SUCCESS'
                          in self.world.machine.log(), 'export')
        settings = self.world.machine.export_folder / 'config' / 'kelvd.cfg'
        self.assertEqual(settings.read_text(encoding='utf-8'), 'type=embedded\n')


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
