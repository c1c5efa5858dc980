"""A whole migration by requests that were written by hand, sent by curl."""

import hashlib
import json
import shutil
import ssl
import subprocess
import sys
import time
import unittest
import zipfile
from pathlib import Path

import programs

FOLDER = programs.take_folder()
PATIENCE_SECONDS = 60

REQUEST = '''{"jsonrpc": "2.0", "id": "by hand", "method": "invoke", "params": {
  "serviceId": "halvard.migrator", "operationId": "%s",
  "input": {"STRUCTURE": {"operation-input": {"json": %s}}},
  "ctx": {"appCtx": {}, "securityCtx": {}}}}'''


class DrivenByCurl(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        programs.skip_without_appliance(FOLDER)
        if shutil.which('curl') is None:
            print('Skipped: curl isn\'t installed')
            sys.exit(programs.SKIPPED)
        cls.rehearsal = subprocess.Popen(
            [programs.REHEARSE, '--programs', FOLDER, '--export-size', '3M', '--serve'],
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = cls.rehearsal.stdout.readline()
        cls.place = json.loads(line) if line else None

    @classmethod
    def tearDownClass(cls):
        cls.rehearsal.terminate()
        cls.rehearsal.communicate()

    def ask(self, operation, **members):
        """The reply to one request; members are those beside the credentials."""
        document = {'locale': 'en', 'sso_username': self.place['user'],
                    'sso_password': self.place['password'], **members}
        url = f'https://{programs.url_host(self.place["host"])}:{self.place["port"]}/api'
        sent = subprocess.run(
            ['curl', '--silent', '--show-error', '--insecure', '--fail',
             '--header', 'Content-Type: application/json', '--header', 'Accept: application/json',
             '--data-binary', '@-', url],
            input=REQUEST % (operation, json.dumps(json.dumps(document))), capture_output=True,
            text=True, check=True)
        answer = json.loads(sent.stdout)
        self.assertEqual(answer['id'], 'by hand')
        return json.loads(answer['result']['output'])

    def succeed(self, operation, **members):
        reply = self.ask(operation, **members)
        self.assertEqual((reply['result'], reply['error']), ('success', ''), operation)
        return reply

    def follow_export(self):
        """Answers what the export asks, until it has ended."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        asked = []
        while time.monotonic() < deadline:
            document = self.ask('poll_export_status') or {}
            if document.get('status') in ('success', 'error'):
                return document, asked
            question = document.get('question')
            if question and question['id'] not in asked:
                asked.append(question['id'])
                self.succeed('create_answer_file', answer='yes')
            time.sleep(0.1)
        self.fail('the export never ends')

    def target(self):
        ssh = self.place['ssh']
        return {'ssh_server': ssh['server'], 'ssh_folder': ssh['folder'], 'ssh_user': ssh['user'],
                'ssh_password': ssh['password'], 'ssh_thumbprint': {'rsa': ssh['thumbprint']}}

    def arrived(self, name):
        return Path(self.place['ssh']['root'] + self.place['ssh']['folder']) / name

    def test_each_step_of_a_migration(self):
        self.assertIsNotNone(self.place, 'the rehearsal doesn\'t serve')
        self.check_certificate()
        kind = self.succeed('get_source_deployment_type')
        self.assertEqual(kind['deployment_type'], 'embedded')
        prechecks = self.succeed('invoke_pre_upgrade')
        self.assertEqual(prechecks['sourceInfo']['inventoryInfo']['hostCount'], 40)
        self.assertEqual(self.succeed('get_cached_pre_upgrade_result')['componentRequirements'],
                         prechecks['componentRequirements'])
        self.assertEqual(self.succeed('collect_network_config')['config_ipaddr4'], '192.0.2.10')
        self.assertEqual(self.succeed('collect_active_directory_config')['ad_domain_name'], '')

        self.succeed('invoke_export')
        document, asked = self.follow_export()
        self.assertEqual(document['status'], 'success', document)
        self.assertEqual(asked, ['keep-history'])

        self.succeed('copy_export_data', interactive=False, **self.target())
        self.check_export(document['exported'])
        self.succeed('copy_logs_directory', **self.target())
        with zipfile.ZipFile(self.arrived('logs.zip')) as logs:
            self.assertIn('halvard.log', logs.namelist())

        self.succeed('shutdown_machine')
        self.assertEqual(self.rehearsal.wait(PATIENCE_SECONDS), 0)

    def check_certificate(self):
        text = ssl.get_server_certificate((self.place['host'], self.place['port']))
        digest = hashlib.sha1(ssl.PEM_cert_to_DER_cert(text)).hexdigest().upper()
        self.assertEqual(':'.join(digest[i:i + 2] for i in range(0, 40, 2)),
                         self.place['thumbprint'])

    def check_export(self, told):
        with zipfile.ZipFile(self.arrived('export.zip')) as archive:
            files = json.loads(archive.read('export/manifest.json'))['files']
            self.assertEqual(len(files), told['files'])
            for file in files:
                self.assertEqual(hashlib.sha256(archive.read('export/' + file['path'])).hexdigest(),
                                 file['sha256'], file['path'])


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
