#!/usr/bin/env python3
"""hv_util.py passes what is whole and equal, and names the file and the reason for all else."""

import json
import os
import resource
import struct
import subprocess
import sys
import tempfile
import unittest
import zipfile
from pathlib import Path

TOOL = Path(__file__).resolve().parents[2] / 'tools' / 'hv_util.py'
sys.path.insert(0, str(TOOL.parent))
import hv_util  # noqa: E402  (of the tools)

CENTRAL_SIGNATURE = b'PK\1\2'
LOCAL_SIGNATURE = b'PK\3\4'
DEFLATE64 = 9


class HvUtilTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.base = Path(folder.name)
        self.export = self.base / 'export'
        self.export.mkdir()
        self.zip = self.base / 'export.zip'
        self.result = self.base / 'hv_util.json'

    def write(self, name, content=b'content'):
        path = self.export / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)

    def pack(self, method=zipfile.ZIP_DEFLATED, without=()):
        with zipfile.ZipFile(self.zip, 'w', method) as archive:
            for path in sorted(self.export.rglob('*')):
                if path.is_file() and path.name not in without:
                    archive.write(path, path.relative_to(self.base))

    def run_tool(self, *arguments):
        return subprocess.run([sys.executable, TOOL, *map(str, arguments)], capture_output=True,
                              text=True, check=False)

    def outcome(self, *arguments):
        """Exit code and document of a run that writes its result."""
        code = hv_util.main([*map(str, arguments), '--result', str(self.result)])
        document = json.loads(self.result.read_text(encoding='ascii'))
        self.assertEqual(sorted(document), ['message', 'status'])
        return code, document['status'], document['message']

    def outcome_of_test(self):
        return self.outcome('--test', self.zip)

    def outcome_of_comparison(self):
        return self.outcome('--compare', self.zip, self.export)

    def patch_method(self, method):
        """Says in both headers of the only entry that it is packed in another way."""
        content = bytearray(self.zip.read_bytes())
        struct.pack_into('<H', content, content.index(LOCAL_SIGNATURE) + 8, method)
        struct.pack_into('<H', content, content.index(CENTRAL_SIGNATURE) + 10, method)
        self.zip.write_bytes(content)


class Sound(HvUtilTest):
    def test_a_whole_archive_passes_both(self):
        self.write('a.txt')
        self.write('deep/er/b.bin', os.urandom(3 * 1024 * 1024 + 1))
        self.write('empty', b'')
        self.write('name \u00e4 \u6f22 \U0001f600.txt')
        for method in (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED, zipfile.ZIP_BZIP2,
                       zipfile.ZIP_LZMA):
            self.pack(method)
            self.assertEqual(self.outcome_of_test(), (0, 'success', '4 files tested.'))
            self.assertEqual(self.outcome_of_comparison(), (0, 'success', '4 files compared.'))

    def test_empty_folders_do_not_count(self):
        self.write('a.txt')
        (self.export / 'nothing').mkdir()
        self.pack()
        with zipfile.ZipFile(self.zip, 'a') as archive:
            archive.writestr('export/other nothing/', b'')
        self.assertEqual(self.outcome_of_comparison(), (0, 'success', '1 files compared.'))

    def test_an_archive_without_entries_is_sound_and_equals_an_empty_folder(self):
        self.zip.write_bytes(b'PK\5\6' + bytes(18))
        self.assertEqual(self.outcome_of_test(), (0, 'success', '0 files tested.'))
        self.assertEqual(self.outcome_of_comparison(), (0, 'success', '0 files compared.'))

    def test_backslashes_of_other_packers_divide_folders(self):
        self.write('deep/a.txt')
        with zipfile.ZipFile(self.zip, 'w') as archive:
            entry = zipfile.ZipInfo('x')
            entry.filename = 'export\\deep\\a.txt'
            archive.writestr(entry, b'content')
        self.assertEqual(self.outcome_of_comparison()[:2], (0, 'success'))

    def test_the_result_goes_to_the_standard_output_without_a_file(self):
        self.write('a.txt')
        self.pack()
        run = self.run_tool('--test', self.zip)
        self.assertEqual(json.loads(run.stdout), {'status': 'success',
                                                  'message': '1 files tested.'})

    def test_a_trailing_separator_of_the_folder_means_nothing(self):
        self.write('a.txt')
        self.pack()
        self.assertEqual(self.outcome('--compare', self.zip, str(self.export) + '/')[1], 'success')

    def test_memory_stays_small(self):
        self.write('zeros', bytes(256 * 1024 * 1024))
        self.pack()
        limit = 128 * 1024 * 1024
        for arguments in (('--test', self.zip), ('--compare', self.zip, self.export)):
            run = subprocess.run(
                [sys.executable, TOOL, *map(str, arguments)], capture_output=True, check=False,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (limit, limit)))
            self.assertEqual(run.returncode, 0, run)


class Damaged(HvUtilTest):
    def test_a_changed_byte_is_found_and_its_file_named(self):
        self.write('a.txt', b'a' * 100)
        self.pack(zipfile.ZIP_STORED)
        content = bytearray(self.zip.read_bytes())
        content[60] ^= 1
        self.zip.write_bytes(content)
        code, status, message = self.outcome_of_test()
        self.assertEqual((code, status), (1, 'failed'))
        self.assertTrue(message.startswith('export/a.txt: Bad CRC-32'), message)

    def test_every_cut_is_found(self):
        self.write('a.txt', os.urandom(50))
        self.write('b.txt', b'')
        self.pack()
        content = self.zip.read_bytes()
        for length in range(len(content)):
            self.zip.write_bytes(content[:length])
            self.assertEqual(self.outcome_of_test()[:2], (1, 'failed'), length)

    def test_a_missing_archive_is_named(self):
        self.assertEqual(self.outcome_of_test(), (1, 'failed',
                                       '{}: No such file or directory'.format(self.zip)))

    def test_what_is_no_archive_is_named(self):
        self.zip.write_bytes(b'no archive at all')
        self.assertEqual(self.outcome_of_test(), (1, 'failed',
                                       '{}: File is not a zip file'.format(self.zip)))

    def test_an_encrypted_entry_is_refused(self):
        self.write('a.txt')
        self.pack()
        content = bytearray(self.zip.read_bytes())
        content[content.index(LOCAL_SIGNATURE) + 6] |= 1
        content[content.index(CENTRAL_SIGNATURE) + 8] |= 1
        self.zip.write_bytes(content)
        self.assertEqual(self.outcome_of_test(), (1, 'failed', 'export/a.txt: is encrypted'))

    def test_names_that_lead_elsewhere_are_refused(self):
        for name in ('../a.txt', 'export/../../a.txt', '/a.txt', 'C:/a.txt'):
            with zipfile.ZipFile(self.zip, 'w') as archive:
                archive.writestr(name, b'content')
            self.assertEqual(self.outcome_of_test(), (
                1, 'failed', name + ': leads out of the folder that it is unpacked to'))

    def test_a_file_that_is_there_twice_is_refused(self):
        with zipfile.ZipFile(self.zip, 'w') as archive:
            archive.writestr('export/a.txt', b'content')
            with self.assertWarns(UserWarning):
                archive.writestr('export/a.txt', b'content')
        self.assertEqual(self.outcome_of_test(), (1, 'failed', 'export/a.txt: is in the zip file twice'))


class Different(HvUtilTest):
    def test_each_difference_is_named_with_its_reason(self):
        for name in ('equal', 'longer', 'missing', 'other'):
            self.write(name)
        self.pack(without=('missing',))
        self.write('longer', b'content and more')
        self.write('other', b'conTent')
        with zipfile.ZipFile(self.zip, 'a') as archive:
            archive.writestr('export/surplus', b'')
        self.assertEqual(self.outcome_of_comparison(), (1, 'failed', '\n'.join([
            'export/longer: has 7 bytes in the zip file and 16 in the folder',
            'export/missing: is missing in the zip file',
            'export/other: differs from byte 3',
            'export/surplus: is not in the folder'])))

    def test_a_name_that_is_no_text_is_told_as_far_as_it_goes(self):
        path = os.path.join(os.fsencode(str(self.export)), b'half-\xff')
        with open(path, 'wb'):
            pass
        with zipfile.ZipFile(self.zip, 'w') as archive:
            archive.writestr('export/', b'')
            archive.writestr('export/whole', b'')
        self.write('whole', b'')
        self.assertEqual(self.outcome_of_comparison(), (
            1, 'failed', 'export/half-?: is missing in the zip file'))

    def test_a_difference_far_into_a_file_has_its_place(self):
        content = bytearray(5 * 1024 * 1024)
        self.write('big', content)
        self.pack()
        content[3 * 1024 * 1024 + 5] = 1
        self.write('big', content)
        self.assertEqual(self.outcome_of_comparison()[2], 'export/big: differs from byte 3145733')

    def test_many_differences_are_counted(self):
        for number in range(25):
            self.write('{:02}'.format(number))
        self.zip.write_bytes(b'')
        with zipfile.ZipFile(self.zip, 'w') as archive:
            archive.writestr('export/00', b'content')
        lines = self.outcome_of_comparison()[2].split('\n')
        self.assertEqual(lines[0], 'export/01: is missing in the zip file')
        self.assertEqual(len(lines), 21)
        self.assertEqual(lines[-1], 'and 4 more')

    def test_an_archive_without_the_folder_itself_is_told_so(self):
        self.write('a.txt')
        with zipfile.ZipFile(self.zip, 'w') as archive:
            archive.writestr('a.txt', b'content')
        self.assertEqual(self.outcome_of_comparison(), (
            1, 'failed', 'The zip file must hold the folder "export" itself.'))

    def test_a_missing_folder_is_named(self):
        self.pack()
        self.export.rmdir()
        self.assertEqual(self.outcome_of_comparison(), (1, 'failed', '{}: is no folder'.format(self.export)))

    def test_a_damaged_archive_is_a_difference(self):
        self.write('a.txt', b'a' * 100)
        self.pack(zipfile.ZIP_STORED)
        content = bytearray(self.zip.read_bytes())
        content[60] ^= 1
        self.zip.write_bytes(content)
        self.assertEqual(self.outcome_of_comparison()[:2], (1, 'failed'))


class OfAnUnknownKind(HvUtilTest):
    """Big files that the shell has packed."""

    def setUp(self):
        super().setUp()
        self.write('big.bin', b'content')
        self.pack()
        self.patch_method(DEFLATE64)

    def test_goes_by_length_and_checksum(self):
        note = " 1 of them can't be unpacked here and went by length and CRC-32."
        self.assertEqual(self.outcome_of_test(), (0, 'success', '1 files tested.' + note))
        self.assertEqual(self.outcome_of_comparison(), (0, 'success', '1 files compared.' + note))

    def test_another_content_is_found(self):
        self.write('big.bin', b'conTent')
        self.assertEqual(self.outcome_of_comparison(), (1, 'failed', 'export/big.bin: its CRC-32 differs'))

    def test_a_damaged_header_is_found(self):
        content = self.zip.read_bytes()
        self.zip.write_bytes(content.replace(LOCAL_SIGNATURE, b'xxxx'))
        self.assertEqual(self.outcome_of_test(), (1, 'failed', 'export/big.bin: its header is damaged'))


class Arguments(HvUtilTest):
    def test_wrong_ones_are_explained(self):
        for arguments in ((), ('--test',), ('--compare', 'a'), ('--test', 'a', '--compare', 'a', 'b'),
                          ('--unknown',)):
            run = self.run_tool(*arguments)
            self.assertEqual(run.returncode, 2, arguments)
            self.assertIn('usage:', run.stderr)

    def test_a_result_that_cannot_be_written_is_reported(self):
        self.pack()
        path = self.base / 'none' / 'result.json'
        run = self.run_tool('--test', self.zip, '--result', path)
        self.assertEqual((run.returncode, run.stderr),
                         (2, '{}: No such file or directory\n'.format(path)))

    def test_an_older_result_is_replaced_whole(self):
        self.result.write_text('x' * 10000)
        self.pack()
        self.assertEqual(self.outcome_of_test()[1], 'success')
        self.assertEqual(sorted(path.name for path in self.base.iterdir()),
                         ['export', 'export.zip', 'hv_util.json'])


if __name__ == '__main__':
    unittest.main()
