#!/usr/bin/env python3
"""What the upgrade runner takes: its command line, and the file that the agent writes for it."""

import copy
import json
import os
import sys
import unittest

from runner_case import input_of, kelvd, PASSWORD, RunnerTest, SCRIPTS, sso


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


if __name__ == '__main__':
    unittest.main()
