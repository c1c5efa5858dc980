#!/usr/bin/env python3
"""What the upgrade runner says of its requirements, and how it may end."""

import os
import signal
import unittest

from runner_case import input_of, kelvd, PATIENCE_SECONDS, RunnerTest, sso

TRIES = 20


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
        # A busy host may leave the reader no time while a document is half done.
        self.assertTrue(any(self.meets_half_a_document() for _ in range(TRIES)))

    def meets_half_a_document(self):
        self.start('requirements')
        self.wait_until(self.output_path('requirements').exists)
        try:
            self.output('requirements')
            met = False
        except ValueError:
            met = True
        self.assertEqual(self.wait(), 0)
        self.output('requirements')
        self.output_path('requirements').unlink()
        return met

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


if __name__ == '__main__':
    unittest.main()
