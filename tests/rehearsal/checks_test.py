"""The checks of a rehearsal find what they are there for."""

import hashlib
import json
import os
import socket
import sys
import tempfile
import types
import unittest
import zipfile
from pathlib import Path

import programs

programs.take_folder()
sys.path.insert(0, str(programs.TREE / 'tools' / 'rehearsal'))

import checks  # noqa: E402
from lab_machine import files_below  # noqa: E402
from messages import LANGUAGES, Messages  # noqa: E402
from narrator import Narrator, StepFailed  # noqa: E402
from processes import PORTS, claim, free_port, is_free  # noqa: E402


class FakeMachine:
    firewall_is_on = True

    def __init__(self, folder):
        self.folder = folder
        self.drive = folder / 'drive_c'
        self.export_folder = self.drive / 'export'
        self.export_zip = self.drive / 'export.zip'
        self.extraction_folder = self.drive / 'extracted'
        self.openings = []
        self.drive.mkdir(parents=True)

    def files(self):
        return files_below(self.folder)

    def find(self, name):
        return next(self.drive.rglob(name), None)

    def agents_openings(self):
        return self.openings

    def processes(self):
        return {}


class Checks(unittest.TestCase):
    def setUp(self):
        self.temporary = tempfile.TemporaryDirectory()
        self.addCleanup(self.temporary.cleanup)
        folder = Path(self.temporary.name)
        self.appliance = folder / 'appliance'
        self.appliance.mkdir()
        scratch = folder / 'scratch'
        scratch.mkdir()
        self.world = types.SimpleNamespace(
            machine=FakeMachine(folder / 'machine'), scratch=scratch, appliance=True,
            lost_openings=[], password='s3cret', ssh_password='s5h', arrived=lambda name: self.appliance / name)

    def make_export(self, listed='data'):
        folder = self.world.machine.export_folder
        folder.mkdir()
        (folder / 'a.bin').write_text('data', encoding='ascii')
        (folder / 'manifest.json').write_text(json.dumps({'files': [
            {'path': 'a.bin', 'sha256': hashlib.sha256(listed.encode()).hexdigest()}]}),
            encoding='ascii')
        self.zip(self.world.machine.export_zip)
        self.zip(self.appliance / 'export.zip')

    def zip(self, place, **more):
        with zipfile.ZipFile(place, 'w') as archive:
            for file in sorted(self.world.machine.export_folder.iterdir()):
                # The time is part of the bytes.
                archive.writestr(zipfile.ZipInfo('export/' + file.name), file.read_bytes())
            for name, text in more.items():
                archive.writestr(zipfile.ZipInfo('export/' + name), text)

    def fails(self, text, check, *arguments):
        with self.assertRaises(StepFailed) as raised:
            check(self.world, *arguments)
        self.assertIn(text, str(raised.exception))

    def test_whole_export_holds(self):
        self.make_export()
        self.assertIn('1 files as listed', checks.export_arrived(self.world))

    def test_export_that_is_not_there_is_found(self):
        self.fails('is not on the appliance', checks.export_arrived)

    def test_other_bytes_are_found(self):
        self.make_export()
        with open(self.appliance / 'export.zip', 'ab') as file:
            file.write(b'x')
        self.fails('SHA-256 of export.zip', checks.export_arrived)

    def test_file_of_another_content_than_listed_is_found(self):
        self.make_export(listed='other')
        self.fails('SHA-256 of a.bin', checks.export_arrived)

    def test_file_that_is_not_listed_is_found(self):
        self.make_export()
        (self.world.machine.export_folder / 'more').write_text('x', encoding='ascii')
        self.zip(self.world.machine.export_zip)
        self.zip(self.appliance / 'export.zip')
        self.fails('files of export.zip', checks.export_arrived)

    def test_zip_that_is_not_the_folder_is_found(self):
        self.make_export()
        for place in (self.world.machine.export_zip, self.appliance / 'export.zip'):
            self.zip(place, more='x')
        self.fails('is not in the folder', checks.export_arrived)

    def test_what_is_left_behind_is_found(self):
        drive = self.world.machine.drive
        self.assertTrue(checks.nothing_left_behind(self.world))
        self.world.machine.openings = [9123]
        self.fails('openings in the firewall', checks.nothing_left_behind)
        os.symlink('/', drive / 'mig1.tmp')
        self.fails('links are still there', checks.nothing_left_behind)
        (drive / 'UpgradeRunnerInput.json').touch()
        self.fails('UpgradeRunnerInput.json is still there', checks.nothing_left_behind)
        self.world.machine.extraction_folder.mkdir()
        self.fails('extracted is still there', checks.nothing_left_behind)

    def test_passwords_are_found_wherever_they_are(self):
        self.assertTrue(checks.no_password_anywhere(self.world))
        self.fails('what was shown', checks.no_password_anywhere, 'my s3cret')
        with zipfile.ZipFile(self.appliance / 'logs.zip', 'w') as archive:
            archive.writestr('x.log', 'a s5h b')
        self.fails('logs.zip/x.log', checks.no_password_anywhere)
        (self.world.machine.drive / 'x.log').write_text('s3cret', encoding='ascii')
        self.fails('x.log', checks.no_password_anywhere)

    def test_failed_check_stays_in_the_table_and_lets_the_next_one_run(self):
        with open(os.devnull, 'w', encoding='utf-8') as nowhere:
            narrator = Narrator(nowhere)
            self.assertFalse(narrator.check('a', checks.expect, False, 'why'))
            self.assertTrue(narrator.check('b', lambda: 'found'))
            self.assertFalse(narrator.all_held())
        self.assertEqual([(row[0], row[2]) for row in narrator.rows],
                         [('FAILED', 'a: why'), ('ok', 'b: found')])

    def test_messages_are_those_of_the_language(self):
        self.assertEqual(Messages('en').text(1023, 9123), 'Port: 9123')
        for locale in LANGUAGES:
            self.assertIn('9123', Messages(locale).text(1023, 9123))
        self.assertNotEqual(Messages('de').text(1014), Messages('en').text(1014))
        # Not translated.
        self.assertEqual(Messages('de').text(1234), Messages('en').text(1234))


class Ports(unittest.TestCase):
    def test_one_that_is_chosen_is_nobody_elses(self):
        port = free_port()
        self.assertIn(port, PORTS)
        self.assertTrue(is_free(port))
        self.assertFalse(claim(port))

    def test_one_that_another_program_has_claimed_is_left_to_it(self):
        port = free_port() + len(PORTS)  # which nobody chooses
        with socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM) as other:
            other.bind(f'\0halvard-test-port-{port}')
            self.assertFalse(claim(port))
        self.assertTrue(claim(port))


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
