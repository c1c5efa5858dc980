"""./rehearse, small and quick: a whole migration, faults, and what it refuses."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import programs

FOLDER = programs.take_folder()


def rehearse(*arguments):
    return subprocess.run([programs.REHEARSE, '--programs', FOLDER, '--export-size', '2M',
                           *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                          check=False)


def rows_of(output):
    """Names of the table's rows, each with its outcome."""
    table = output[output.index('== Summary'):].splitlines()
    rows = {}
    for line in table:
        words = line.split(None, 3)
        if words and words[0] in ('ok', 'FAILED'):
            rows[words[3].split(':')[0]] = words[0]
    return rows


class Rehearsal(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        programs.skip_without_appliance(FOLDER)

    def expect_well(self, run):
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn('Every step ended well.', run.stdout)


class WholeMigration(Rehearsal):
    def test_arrives_in_the_machines_language(self):
        with tempfile.TemporaryDirectory() as folder:
            machine = Path(folder) / 'machine'
            run = rehearse('--type', 'embedded', '--source', 'platform', '--locale', 'de',
                           '--keep', machine)
            self.expect_well(run)
            self.assertTrue((machine / 'shutdown.json').exists())
        rows = rows_of(run.stdout)
        for name in ('migrate', 'status file', 'firewall', 'end of the agent', 'end of the old machine',
                     'export on the appliance', 'logs on the appliance', 'services',
                     'nothing left behind', 'no password anywhere',
                     'sessions of the Kelvane Server'):
            self.assertEqual(rows.get(name), 'ok', name)
        self.assertIn('agent | Halvard wird initialisiert...', run.stdout)


class FailingStart(Rehearsal):
    def test_ends_as_it_should(self):
        run = rehearse('--type', 'infrastructure', '--fault', 'wrong-password')
        self.expect_well(run)
        self.assertNotIn('migrate', rows_of(run.stdout))


class FailingMigration(Rehearsal):
    def test_ends_as_it_should_and_goes_on_once_it_is_mended(self):
        run = rehearse('--type', 'management', '--fault', 'wrong-ssh-password')
        self.expect_well(run)
        self.assertIn('migrate once more', rows_of(run.stdout))


class CommandLine(unittest.TestCase):
    def expect_refusal(self, text, *arguments):
        run = rehearse(*arguments)
        self.assertEqual(run.returncode, 2)
        self.assertIn(text, run.stderr)

    def test_what_cannot_be_is_refused_before_anything_is_started(self):
        self.expect_refusal('invalid choice', '--type', 'tum')
        self.expect_refusal('no fault is named nope', '--fault', 'nope')
        self.expect_refusal('no-controller is for --type management', '--fault', 'no-controller')
        self.expect_refusal('goes with neither', '--fault', 'no-gateway', '--serve')
        self.expect_refusal('is no size', '--export-size', '2X')
        self.expect_refusal('wants a terminal', '--interactive')
        self.expect_refusal('is there already', '--keep', '/tmp')
        self.expect_refusal('holds no programs', '--programs', '/nowhere')

    def test_faults_are_listed(self):
        run = rehearse('--list-faults')
        self.assertEqual(run.returncode, 0)
        self.assertIn('wrong-password ', run.stdout)

    def test_machine_that_cannot_be_started_is_told(self):
        run = rehearse('--keep', '/proc/nowhere')
        self.assertEqual(run.returncode, 1)
        self.assertIn('FAILED: lab-machine: ', run.stdout)


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
