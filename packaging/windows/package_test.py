#!/usr/bin/env python3
"""What ./package-windows makes of the programs that have been built, and what it refuses."""

import hashlib
import os
import subprocess
import tempfile
import unittest
import zipfile
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
NAME = 'halvard-6.0.0.14510545-windows-x64'
PROGRAMS = ('Ostrel-Halvard.exe', 'hvctl.exe')
FILES = (*PROGRAMS, 'SHA256SUMS', 'THIRD-PARTY.md', 'hv_util.py', 'messages.md', 'operator-guide.md')
# All but the build, which the programs of the tests come from.
PACK = 'source cmake/setup/steps.sh; source packaging/windows/pack.sh; ParseOptions "$@"; Pack'


class PackageTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)

    def pack(self, output: str, *options: str) -> zipfile.ZipFile:
        """The zip file that the options make. The time is that of a commit, whatever the tree is."""
        subprocess.run(
            ['bash', '-euo', 'pipefail', '-c', PACK, 'pack', self.folder, '--output', output, *options],
            cwd=TREE, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            env={**os.environ, 'SOURCE_DATE_EPOCH': '1800000001'})
        archive = zipfile.ZipFile(self.folder / output / f'{NAME}.zip')
        self.addCleanup(archive.close)
        return archive

    def digest(self, output: str) -> str:
        return hashlib.sha256((self.folder / output / f'{NAME}.zip').read_bytes()).hexdigest()

    def make_key(self) -> tuple:
        key, certificate = self.folder / 'key.pem', self.folder / 'certificate.pem'
        subprocess.run(['openssl', 'req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-subj', '/CN=Throw-away',
                        '-addext', 'extendedKeyUsage=codeSigning', '-days', '36500', '-keyout', key,
                        '-out', certificate], check=True, stderr=subprocess.DEVNULL)
        return key, certificate

    def test_same_programs_make_the_same_bytes_and_each_file_is_named(self):
        archive = self.pack('first')
        self.pack('second')
        self.assertEqual(self.digest('first'), self.digest('second'))
        self.assertEqual(archive.namelist(), [f'{NAME}/{name}' for name in sorted(FILES)])
        # A zip file counts in steps of two seconds.
        self.assertEqual({entry.date_time for entry in archive.infolist()}, {(2027, 1, 15, 8, 0, 0)})
        sums = archive.read(f'{NAME}/SHA256SUMS').decode().splitlines()
        self.assertEqual(len(sums), len(FILES) - 1)
        for line in sums:
            digest, name = line.split(' *')
            self.assertEqual(hashlib.sha256(archive.read(f'{NAME}/{name}')).hexdigest(), digest, name)
        licences = archive.read(f'{NAME}/THIRD-PARTY.md').decode()
        for library in ('Boost', 'OpenSSL', 'libssh2', 'mingw-w64 runtime'):
            self.assertIn(f'\n## {library}\n', licences)
        for name in archive.namelist():
            self.assertNotIn(str(TREE).encode(), archive.read(name), name)

    def test_programs_are_signed_with_a_key(self):
        key, certificate = self.make_key()
        options = ('--certificate', certificate.name, '--key', key.name)
        archive = self.pack('first', *options)
        self.pack('second', *options)
        self.assertEqual(self.digest('first'), self.digest('second'))
        for program in PROGRAMS:
            archive.extract(f'{NAME}/{program}', self.folder)
            verified = subprocess.run(['osslsigncode', 'verify', '-CAfile', certificate, '-in',
                                       self.folder / NAME / program], check=False,
                                      stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
            self.assertEqual(verified.returncode, 0, verified.stdout)
            self.assertIn('Ostrel Halvard', verified.stdout)

    def test_wrong_options_are_told_before_anything_is_built(self):
        (self.folder / 'key').touch()
        for options, status, reason in (
                (['--nonsense'], 2, 'unknown option "--nonsense"'),
                (['--output'], 2, '--output wants a value'),
                (['--key', 'key'], 2, '--key wants --certificate beside it'),
                (['--certificate', 'key'], 2, '--certificate wants --key beside it'),
                (['--timestamp', 'http://time.example'], 2, 'nothing to sign with'),
                (['--pkcs12', 'absent.p12'], 1, "can't read "),
                (['--pkcs12', 'key', '--certificate', 'key', '--key', 'key'], 2, "--pkcs12 and --key don't go together")):
            with self.subTest(options=options):
                run = subprocess.run([TREE / 'package-windows', *options], cwd=self.folder, check=False,
                                     stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
                self.assertEqual((run.returncode, run.stdout), (status, ''))
                self.assertIn(f'package-windows: {reason}', run.stderr)

    def test_help_needs_nothing(self):
        run = subprocess.run([TREE / 'package-windows', '--help'], check=True, stdout=subprocess.PIPE,
                             text=True)
        self.assertTrue(run.stdout.startswith('usage: ./package-windows'))


if __name__ == '__main__':
    unittest.main()
