#!/usr/bin/env python3
"""Tests of the upgrade runner of the lab by itself: upgrade_runner_test.py FOLDER-OF-ITS-SCRIPTS.

Each starts the runner's script as the agent would have it started, on a machine of a few files.
"""

import copy
import hashlib
import json
import os
import re
import signal
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


class CommandLine(RunnerTest):
    def refused(self, change):
        arguments = change(self.arguments('requirements'))
        self.start('requirements', arguments=arguments)
        self.assertEqual(self.wait(), 2)
        self.assertFalse(self.output_path('requirements').exists())
        return self.said

    def test_each_argument_is_needed(self):
        for number, name in enumerate(['mode', 'configFile', 'logDir', 'locale', 'outputFile']):
            with self.subTest(name):
                said = self.refused(lambda a, n=number: a[:n] + a[n + 1:])
                self.assertIn(f'--{name} is missing', said)

    def test_others_are_refused(self):
        self.assertIn('unknown argument --more=1', self.refused(lambda a: a + ['--more=1']))
        self.assertIn('unknown argument x', self.refused(lambda a: a + ['x']))
        self.assertIn('--locale is given twice', self.refused(lambda a: a + ['--locale=de']))
        self.assertIn('--mode=', self.refused(lambda a: ['--mode=import'] + a[1:]))
        self.assertIn('--silent is for the export', self.refused(lambda a: a + ['--silent']))
        self.assertIn('is no absolute path',
                      self.refused(lambda a: a[:1] + ['--configFile=C:\\x.json'] + a[2:]))


class InputFile(RunnerTest):
    def test_what_the_agent_writes_is_taken(self):
        for migration_type in ('embedded', 'management', 'infrastructure', 'tum'):
            for mode in ('requirements', 'export'):
                with self.subTest(type=migration_type, mode=mode):
                    self.play('export', bytes=0)
                    self.assertEqual(self.run_phase(mode, input_of(migration_type, mode)), 0)

    def refused(self, mode, change, migration_type='embedded'):
        document = input_of(migration_type, mode)
        change(document)
        self.assertEqual(self.run_phase(mode, document), 2)
        if mode == 'export':
            document = self.output(mode)
            self.assertEqual(document['status'], 'error')
            return document['error']['text']['localized']
        [element] = self.output(mode)
        [finding] = element['requirements']['requirementMismatchSpecs']
        self.assertEqual(finding['severity'], 'ERROR')
        return finding['description']['localized']

    def test_every_member_is_needed_and_named(self):
        for migration_type in ('embedded', 'management', 'infrastructure', 'tum'):
            for mode in ('requirements', 'export'):
                for path in paths_of(input_of(migration_type, mode)):
                    if path == ['upgrade-settings', 'upgrade-type']:
                        continue
                    with self.subTest(type=migration_type, mode=mode, path=path):
                        place = '/' + '/'.join(map(str, path))
                        self.assertIn(f'{place}: expected', check_fault(migration_type, mode, path))

    def test_wrong_values_are_named(self):
        settings = '/upgrade-settings/'
        node = 'com.ostrel.kelvd'

        def set_member(path, value):
            def change(document):
                for name in path[:-1]:
                    document = document[name]
                document[path[-1]] = value
            return change
        for mode, path, value in (
                ('requirements', ['source-components', node, 0, 'platform'], 'linux'),
                ('requirements', ['source-components', node, 0, 'url'], None),
                ('requirements', ['source-components', node, 0, 'version'], ''),
                ('requirements', ['source-components', node], []),
                ('requirements', ['source-components', 'com.ostrel.more'], []),
                ('requirements', ['upgrade-settings', 'export-folder'], 'C:\\x'),
                ('requirements', ['upgrade-settings', 'upgrade-type'], 'other'),
                ('requirements', ['more'], 1),
                ('export', ['upgrade-settings', 'infrastructure', 'host'], 'sso.example'),
                ('export', ['upgrade-settings', 'infrastructure', 'httpsPort'], None),
                ('export', ['upgrade-settings', 'export-folder'], None)):
            with self.subTest(path=path):
                self.assertIn('/' + '/'.join(map(str, path)) + ': expected',
                              self.refused(mode, set_member(path, value)))
        self.assertIn(settings + 'infrastructure/httpsPort: expected null',
                      self.refused('export', set_member(
                          ['upgrade-settings', 'infrastructure', 'httpsPort'], '443'),
                                   'management'))

    def test_a_file_that_is_no_document_is_refused(self):
        self.assertEqual(self.run_phase('requirements', '{"source'), 2)
        self.assertIn('expected a JSON document', json.dumps(self.output('requirements')))

    def test_passwords_that_read_like_truth_values_are_taken(self):
        document = input_of('embedded', 'requirements')
        document['source-components']['com.ostrel.kelvd'][0]['password'] = True
        self.assertEqual(self.run_phase('requirements', document), 0)

    def test_no_password_is_written_anywhere(self):
        self.play('export', bytes=1000)
        self.assertEqual(self.run_phase('requirements'), 0)
        self.assertEqual(self.run_phase('export'), 0)
        os.remove(self.temp / 'UpgradeRunnerInput.json')
        for path in self.machine.rglob('*'):
            if path.is_file():
                self.assertNotIn(PASSWORD.encode(), path.read_bytes(), path)


def paths_of(document, path=()):
    """All members, outer ones first."""
    paths = []
    items = document.items() if isinstance(document, dict) else enumerate(document)
    for name, value in items:
        here = [*path, name]
        if isinstance(name, str) and name != 'keldb.migrateSet':
            paths.append(here)
        if isinstance(value, (dict, list)):
            paths += paths_of(value, here)
    return paths


def check_fault(migration_type, mode, path):
    """What the runner's own test says of a document that lacks a member."""
    sys.path.insert(0, str(SCRIPTS))
    sys.dont_write_bytecode = True
    import input_document
    document = copy.deepcopy(input_of(migration_type, mode))
    place = document
    for name in path[:-1]:
        place = place[name]
    del place[path[-1]]
    try:
        input_document.check(document, mode)
    except input_document.WrongInput as fault:
        return str(fault)
    return 'taken'


class Requirements(RunnerTest):
    def names(self, migration_type, version='5.5'):
        document = input_of(migration_type, 'requirements')
        for listed in document['source-components'].values():
            listed[0]['version'] = version
        self.assertEqual(self.run_phase('requirements', document), 0)
        return [element['name'] for element in self.output('requirements')]

    def test_components_are_those_of_the_source(self):
        base = ['com.ostrel.keldb', 'com.ostrel.kelvd']
        self.assertEqual(self.names('embedded'), base + ['com.ostrel.sso'])
        self.assertEqual(self.names('management'), base)
        self.assertEqual(self.names('infrastructure'), ['com.ostrel.sso'])
        self.assertEqual(self.names('tum'), ['com.ostrel.kelIntegrity'])
        self.assertEqual(self.names('embedded', '5.8'),
                         base + ['com.ostrel.sso', 'com.ostrel.ostrelafd'])
        self.assertEqual(self.names('management', '5.8'), base + ['com.ostrel.ostrelafd'])
        self.assertEqual(self.names('infrastructure', '5.8'),
                         ['com.ostrel.sso', 'com.ostrel.ostrelafd'])

    def arguments_of(self, name):
        [element] = [e for e in self.output('requirements') if e['name'] == name]
        return element['requirements']['extraArguments']

    def test_certificates_fit_the_name_that_the_installer_knows(self):
        folder = self.machine / 'drive_c' / 'Cfg' / 'install-defaults'
        folder.mkdir(parents=True)
        (folder / 'system.hostname').write_text('kv.corp.example\nmore\n')
        self.variables = {'OSTREL_CFG_DIR': 'C:\\CFG'}
        self.assertEqual(self.run_phase('requirements'), 0)
        self.assertEqual(self.arguments_of('com.ostrel.kelvd'), {
            'appliance.net.pnid': 'kv.corp.example', 'kelvd.cert.dns': 'kv.corp.example',
            'kelvd.cert.ip': '192.0.2.10', 'kelvd.sso.host': 'kv.corp.example',
            'kelvd.sso.sts.url': 'https://kv.corp.example:7444/sts/STSService/ostrel.local'})
        self.assertEqual(self.arguments_of('com.ostrel.sso'), {
            'appliance.net.pnid': 'kv.corp.example', 'sso.cert.dnsnames': 'kv.corp.example',
            'sso.cert.ipaddresses': '192.0.2.10'})
        self.assertEqual(self.arguments_of('com.ostrel.keldb'), {'src.db.type': 'embedded'})

    def test_without_the_installer_the_computer_has_its_own_name(self):
        for more, name in (({}, 'kvsource'),
                           ({'domain': {'name': 'corp.example'}}, 'kvsource.corp.example'),
                           ({'computer': {'name': 'A', 'fullName': 'b.c'}}, 'b.c')):
            self.description.update(more)
            self.assertEqual(self.run_phase('requirements'), 0)
            self.assertEqual(self.arguments_of('com.ostrel.sso')['appliance.net.pnid'], name)

    def test_estimates_follow_the_size_of_the_export(self):
        self.play('export', bytes=10 << 30)
        self.assertEqual(self.run_phase('requirements'), 0)
        sizes = {e['name']: e['requirements']['coreRequirement']['requiredSrcDiskSpace']
                 for e in self.output('requirements')}
        self.assertEqual(sizes['com.ostrel.keldb'], 6)
        self.assertGreaterEqual(sum(sizes.values()), 7.5)

    def test_findings_are_those_of_the_scenario(self):
        self.play('requirements', findings=[
            {'text': 'Broken.', 'resolution': 'Mend it.'},
            {'text': 'Odd.', 'severity': 'WARNING', 'component': 'com.ostrel.sso'}])
        self.assertEqual(self.run_phase('requirements'), 0)
        database, _, sign_on = [e['requirements']['requirementMismatchSpecs']
                                for e in self.output('requirements')]
        self.assertEqual(database, [{'severity': 'ERROR', 'description': {'localized': 'Broken.'},
                                     'resolution': {'localized': 'Mend it.'}}])
        self.assertEqual(sign_on[0]['severity'], 'WARNING')

    def test_there_may_be_many_findings(self):
        self.play('requirements', manyFindings=10000)
        self.assertEqual(self.run_phase('requirements'), 0)
        findings = self.output('requirements')[0]['requirements']['requirementMismatchSpecs']
        self.assertEqual(len({f['description']['localized'] for f in findings}), 10000)

    def test_components_are_patched_and_added(self):
        self.play('requirements', components={
            'com.ostrel.kelvd': {'requirements': {
                'extraArguments': {'kelvd.cert.ip': '192.0.2.99', 'kelvd.cert.dns': None}}},
            'com.ostrel.kelIntegrity': {'requirements': {
                'coreRequirement': {'requiredSrcDiskSpace': 0.5}}}})
        self.assertEqual(self.run_phase('requirements'), 0)
        self.assertEqual(self.arguments_of('com.ostrel.kelvd')['kelvd.cert.ip'], '192.0.2.99')
        self.assertNotIn('kelvd.cert.dns', self.arguments_of('com.ostrel.kelvd'))
        self.assertEqual(self.output('requirements')[-1]['name'], 'com.ostrel.kelIntegrity')

    def test_the_whole_document_may_be_given(self):
        self.play('requirements', document={'no': 'array'})
        self.assertEqual(self.run_phase('requirements'), 0)
        self.assertEqual(self.output('requirements'), {'no': 'array'})


class Outcomes(RunnerTest):
    def test_exit_code_and_status_come_in_every_combination(self):
        for code in (0, 1, 259, 0xC0000005):
            for status in ('success', 'error', 'other', None):
                with self.subTest(code=code, status=status):
                    self.play('export', exitCode=code, status=status, bytes=0)
                    self.assertEqual(self.run_phase('export'), code)
                    self.assertEqual(self.output('export').get('status'), status)

    def test_failed_export_ends_with_a_code_of_its_own(self):
        self.play('export', status='error', bytes=0)
        self.assertEqual(self.run_phase('export'), 1)
        self.assertIn('failed', self.output('export')['error']['text']['localized'])

    def test_output_may_be_missing_or_stop_in_its_middle(self):
        for mode in ('requirements', 'export'):
            with self.subTest(mode):
                self.play(mode, output='none', exitCode=5)
                self.assertEqual(self.run_phase(mode), 5)
                self.assertFalse(self.output_path(mode).exists())
                self.play(mode, output='partial')
                self.assertEqual(self.run_phase(mode), 0)
                with self.assertRaises(ValueError):
                    self.output(mode)
                self.output_path(mode).unlink()

    def test_output_appears_whole(self):
        self.play('requirements', manyFindings=20000)
        self.start('requirements')
        self.wait_until(self.output_path('requirements').exists)
        self.output('requirements')
        self.assertEqual(self.wait(), 0)
        self.assertEqual([p.name for p in self.temp.iterdir() if p.suffix == '.part'], [])

    def test_output_in_place_can_be_met_half_done(self):
        self.play('requirements', manyFindings=10000, writing='inPlace')
        self.start('requirements')
        self.wait_until(self.output_path('requirements').exists)
        with self.assertRaises(ValueError):
            self.output('requirements')
        self.assertEqual(self.wait(), 0)
        self.output('requirements')

    def test_it_may_hang_before_or_after_its_output(self):
        for place in ('beforeOutput', 'afterOutput'):
            with self.subTest(place):
                self.play('requirements', hangs=place)
                self.start('requirements')
                if place == 'afterOutput':
                    self.wait_until(self.output_path('requirements').exists)
                else:
                    self.wait_until(lambda: 'Phase requirements' in self.log_so_far())
                    self.assertFalse(self.output_path('requirements').exists())
                self.assertIsNone(self.process.poll())
                self.process.kill()
                self.process.communicate()

    def log_so_far(self):
        return self.log() if (self.temp / 'kvsMigration' / 'UpgradeRunner.log').exists() else ''

    def test_it_may_leave_a_process_behind(self):
        self.play('requirements', grandchild=True)
        self.assertEqual(self.run_phase_without_output(), 0)
        grandchild = int((self.machine / 'run' / 'grandchild').read_text())
        self.assertEqual(os.getsid(grandchild) != os.getsid(0), True)
        os.kill(grandchild, signal.SIGKILL)

    def run_phase_without_output(self):
        # The grandchild keeps the streams open: nobody waits for their end.
        self.start('requirements')
        self.process.stdout.close()
        return self.process.wait(PATIENCE_SECONDS)


class DataExport(RunnerTest):
    def folder(self):
        return self.machine / 'drive_c' / 'Data \u8a66' / 'export'

    def manifest(self):
        return json.loads((self.folder() / 'manifest.json').read_text(encoding='utf-8'))

    def test_data_have_the_size_and_what_the_seed_says(self):
        size = (3 << 20) + 17
        self.play('export', bytes=size, seed=7)
        self.assertEqual(self.run_phase('export'), 0)
        first = self.manifest()
        data = [entry for entry in first['files'] if entry['path'].startswith('keldb/')]
        self.assertEqual(sum(entry['bytes'] for entry in data), size)
        for entry in first['files']:
            content = (self.folder() / entry['path']).read_bytes()
            self.assertEqual(len(content), entry['bytes'])
            self.assertEqual(hashlib.sha256(content).hexdigest(), entry['sha256'])
        self.assertIn(0, [entry['bytes'] for entry in first['files']])
        self.assertEqual(self.run_phase('export'), 0)
        self.assertEqual(self.manifest(), first)
        self.play('export', bytes=size, seed=8)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertNotEqual(self.manifest(), first)

    def test_final_document_tells_what_was_exported(self):
        self.play('export', bytes=1000)
        self.assertEqual(self.run_phase('export'), 0)
        document = self.output('export')
        self.assertEqual(document['status'], 'success')
        self.assertEqual(document['progress'], 100)
        self.assertEqual(document['exported']['folder'], 'C:\\Data \u8a66\\export')
        self.assertEqual(document['exported']['files'], len(self.manifest()['files']))

    def test_progress_grows_while_it_runs(self):
        self.play('export', bytes=100 << 20, seconds=1)
        self.start('export')
        seen = []

        def finished():
            try:
                document = self.output('export')
            except FileNotFoundError:
                return False
            seen.append(document['progress'])
            return document['status'] == 'success'
        self.wait_until(finished)
        self.assertEqual(self.wait(), 0)
        self.assertEqual(seen, sorted(seen))
        self.assertGreater(len(set(seen)), 5)

    def states(self):
        states = json.loads((self.machine / 'services.json').read_text(encoding='utf-8'))
        return {name: state['state'] for name, state in states.items()}

    def test_services_of_the_product_are_stopped(self):
        self.description['services'] = {name: {} for name in ('KELVD', 'OstrelSTS', 'other')}
        (self.machine / 'services.json').write_text(json.dumps(
            {'ostrelsts': {'state': 'running'}, 'other': {'state': 'running'}}))
        self.play('export', bytes=0)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertEqual(self.states(), {'KELVD': 'stopped', 'ostrelsts': 'stopped',
                                         'other': 'running'})
        self.assertRegex(self.log(), 'Stopped services: KELVD, OstrelSTS')

    def test_services_may_go_on_running(self):
        self.description['services'] = {'kelvd': {}}
        self.play('export', bytes=0, stopsServices=False)
        self.assertEqual(self.run_phase('export'), 0)
        self.assertFalse((self.machine / 'services.json').exists())

    def test_folder_that_cannot_be_written_is_an_error(self):
        self.folder().parent.mkdir()
        self.folder().write_text('a file')
        self.assertEqual(self.run_phase('export'), 1)
        self.assertEqual(self.output('export')['status'], 'error')
        self.assertIn('The export folder', self.output('export')['error']['text']['localized'])


class Questions(RunnerTest):
    def answer(self, place, question_id, answer):
        text = json.dumps({'answer': answer, 'reply_to': question_id})
        # As the agent writes it: in place, so that a reader may meet a part.
        with open(place, 'w', encoding='utf-8') as file:
            file.write(text[:7])
            file.flush()
            time.sleep(0.1)
            file.write(text[7:])

    def place_of(self, question):
        if 'reply_file' not in question:
            return self.temp / (question['id'] + '.json')
        if '\\' not in question['reply_file']:
            return self.temp / question['reply_file']
        self.assertTrue(question['reply_file'].startswith('C:\\Temp\\'))
        return self.machine / 'drive_c' / question['reply_file'][3:].replace('\\', '/')

    def test_each_form_of_the_reply_file_is_waited_for(self):
        forms = ('none', 'name', 'path')
        self.play('export', bytes=0, questions=[
            {'id': f'q\u00e4 {form}', 'replyFile': form, 'expected': {'x': [1, None]}}
            for form in forms])
        self.start('export')
        for form in forms:
            question = self.wait_for_question(f'q\u00e4 {form}')
            place = self.place_of(question)
            self.assertFalse(place.exists())
            self.answer(place, question['id'], {'x': [1, None]})
        self.assertEqual(self.wait(), 0)
        self.assertEqual(self.output('export')['status'], 'success')
        self.assertEqual([p.name for p in self.temp.glob('q*')], [])

    def test_question_is_told_with_all_that_a_person_needs(self):
        self.play('export', bytes=0, questions=[
            {'id': 'q', 'text': 'Go on?', 'choices': ['yes', 'no'], 'default': 'yes'}])
        self.start('export')
        self.assertEqual(self.wait_for_question('q'), {
            'id': 'q', 'text': {'localized': 'Go on?'}, 'choices': ['yes', 'no'],
            'default': 'yes'})

    def refused_answer(self, **reply):
        self.play('export', bytes=0, questions=[{'id': 'q', 'choices': [1, 2]}])
        self.output_path('export').unlink(missing_ok=True)
        self.start('export')
        self.wait_for_question('q')
        (self.temp / 'q.json').write_text(json.dumps(reply))
        self.assertEqual(self.wait(), 1)
        self.assertEqual(self.output('export')['status'], 'error')
        return self.output('export')['error']['text']['localized']

    def test_answers_to_something_else_end_the_export(self):
        self.assertIn('is one to p', self.refused_answer(answer=1, reply_to='p'))
        self.assertIn('none of the choices', self.refused_answer(answer=3, reply_to='q'))
        self.assertIn('other members', self.refused_answer(answer=1, reply_to='q', more=1))

    def test_an_old_answer_is_none(self):
        (self.temp / 'q.json').write_text(json.dumps({'answer': 'old', 'reply_to': 'q'}))
        self.play('export', bytes=0, questions=[{'id': 'q', 'expected': 'new'}])
        self.start('export')
        self.wait_for_question('q')
        self.answer(self.temp / 'q.json', 'q', 'new')
        self.assertEqual(self.wait(), 0)

    def test_silent_export_asks_nothing(self):
        self.play('export', bytes=0, questions=[{'id': 'q'}])
        self.assertEqual(self.run_phase('export', silent=True), 0)
        self.assertRegex(self.log(), re.compile('Question q is not asked'))


if __name__ == '__main__':
    unittest.main()
