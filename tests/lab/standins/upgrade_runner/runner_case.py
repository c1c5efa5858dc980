"""What tests of the lab's upgrade runner share. Each starts the runner's script as the agent would
have it started, on a machine of a few files. The first argument of a test is the folder of the
scripts.
"""

import json
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

SCRIPTS = Path(sys.argv.pop(1)).resolve()
# A runner that takes longer hangs.
PATIENCE_SECONDS = 60
PASSWORD = 's3cret-unmistakable'


def kelvd(**changes):
    return {'password': PASSWORD, 'platform': 'Windows', 'url': '//127.0.0.1:443',
            'username': 'Administrator@ostrel.local', 'kv.svcuser': None,
            'kv.svcuserpassword': None, 'kv.thumbprint': None, 'version': '5.5', **changes}


def sso(with_login, **changes):
    login = {'password': PASSWORD, 'username': 'Administrator@ostrel.local'} if with_login else {}
    return {'platform': 'Windows', 'url': '//127.0.0.1:7444/sso-adminserver/sdk/ostrel.local',
            'version': '5.5', **login, **changes}


def input_of(migration_type, mode):
    """What the agent writes for a type and a phase."""
    components = {}
    if migration_type != 'infrastructure':
        thumbprint = 'AA:BB' if migration_type == 'tum' else None
        components['com.ostrel.kelvd'] = [kelvd(**{'kv.thumbprint': thumbprint})]
    if migration_type in ('embedded', 'infrastructure'):
        components['com.ostrel.sso'] = [sso(migration_type == 'infrastructure')]
    settings = {'destinationPlatform': 'linux', 'user-options': {'keldb.migrateSet': 'yes'}}
    if migration_type != 'tum':
        settings['upgrade-type'] = migration_type
    if mode == 'export':
        elsewhere = migration_type == 'management'
        settings['export-folder'] = 'C:\\Data \u8a66\\export'
        settings['infrastructure'] = {
            'host': 'sso.corp.example' if elsewhere else '127.0.0.1',
            'httpsPort': None if elsewhere else '443',
            'password': PASSWORD, 'username': 'Administrator@ostrel.local'}
    return {'source-components': components, 'upgrade-settings': settings}


class RunnerTest(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='runner \u8a66 ')
        self.addCleanup(folder.cleanup)
        self.machine = Path(folder.name)
        self.temp = self.machine / 'drive_c' / 'Temp'
        self.temp.mkdir(parents=True)
        (self.machine / 'run').mkdir()
        self.description = {'computer': {'name': 'KVSOURCE'}, 'adapters': [
            {'addresses': [{'address': 'fe80::1%1'}, {'address': '192.0.2.10'}]},
            {'addresses': [{'address': '127.0.0.1', 'dnsEligible': False}]}]}
        self.variables = {}
        self.process = None
        self.addCleanup(self.end)

    def play(self, mode, **scenario):
        self.description.setdefault('upgradeRunner', {})[mode] = scenario

    def output_path(self, mode):
        name = {'requirements': 'Preupgrade', 'export': 'Export'}[mode]
        return self.temp / f'UpgradeRunner{name}Output.json'

    def output(self, mode):
        return json.loads(self.output_path(mode).read_text(encoding='utf-8'))

    def arguments(self, mode, silent=False):
        return [f'--mode={mode}', *(['--silent'] if silent else []),
                f'--configFile={self.temp}/UpgradeRunnerInput.json',
                f'--logDir={self.temp}/kvsMigration', '--locale=en',
                f'--outputFile={self.output_path(mode)}']

    def start(self, mode, document=None, arguments=None, silent=False):
        (self.machine / 'machine.json').write_text(json.dumps(self.description), encoding='utf-8')
        if document is None:
            document = input_of('embedded', mode)
        (self.temp / 'UpgradeRunnerInput.json').write_text(
            document if isinstance(document, str) else json.dumps(document), encoding='utf-8')
        self.process = subprocess.Popen(
            [sys.executable, str(SCRIPTS / 'UpgradeRunner.py'),
             *(arguments or self.arguments(mode, silent))],
            env={'HALVARD_LAB': str(self.machine), **self.variables}, stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def end(self):
        if self.process is not None and self.process.returncode is None:
            self.process.kill()
            self.process.communicate()

    def wait(self):
        """Returns the exit code of 32 bits."""
        self.said = self.process.communicate(timeout=PATIENCE_SECONDS)[0].decode()
        told = self.machine / 'run' / f'exit-{self.process.pid}'
        code = int(told.read_text()) if told.exists() else self.process.returncode
        self.assertEqual(code & 0xFF, self.process.returncode)
        return code

    def run_phase(self, mode, document=None, silent=False):
        self.start(mode, document, silent=silent)
        return self.wait()

    def wait_until(self, condition):
        end = time.monotonic() + PATIENCE_SECONDS
        while not condition():
            self.assertLess(time.monotonic(), end, 'waited in vain')
            self.assertIsNone(self.process.poll(), 'the runner has ended')
            time.sleep(0.01)

    def wait_for_question(self, question_id):
        def asked():
            try:
                return self.output('export').get('question', {}).get('id') == question_id
            except FileNotFoundError:
                return False
        self.wait_until(asked)
        return self.output('export')['question']

    def log(self):
        return (self.temp / 'kvsMigration' / 'UpgradeRunner.log').read_text(encoding='utf-8')
