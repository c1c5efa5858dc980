#!/usr/bin/python3
"""The checks of Windows programs are seen to find what they are for, in programs made for it.

The cross compiler comes by the environment, as CMakeLists.txt sets it.
"""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import imports
import program

OLD = '#include <windows.h>\nint main(void) { return (int)GetTickCount(); }\n'
# In Windows 8 and Windows Server 2012 for the first time.
NEW = '''#include <windows.h>
int main(void) {
  FILETIME now;
  GetSystemTimePreciseAsFileTime(&now);
  return (int)now.dwLowDateTime;
}
'''
LOOKED_UP = '''#include <windows.h>
int main(void) {
  return GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "GetSystemTimePreciseAsFileTime") != 0;
}
'''


class ProgramsTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.allowed = imports.read_list(imports.LIST.read_text(encoding='utf-8'))

    def make(self, source: str, *options: str) -> Path:
        file = self.folder / 'probe.c'
        file.write_text(source, encoding='utf-8')
        made = self.folder / 'probe.exe'
        subprocess.run([os.environ['HALVARD_CROSS_COMPILER'], '-D_WIN32_WINNT=0x0602', '-static', '-o',
                        made, file, *options], check=True)
        return made

    def import_findings(self, made: Path) -> list:
        return list(imports.findings([made], self.allowed))

    def test_an_old_function_passes(self):
        self.assertEqual(self.import_findings(self.make(OLD)), [])

    def test_a_function_that_is_not_listed_is_found(self):
        found = self.import_findings(self.make(NEW))
        self.assertEqual(len(found), 1, found)
        self.assertIn('KERNEL32.dll GetSystemTimePreciseAsFileTime is not in imports.txt', found[0])

    def test_a_function_that_is_listed_as_newer_is_found(self):
        self.allowed['kernel32.dll', 'GetSystemTimePreciseAsFileTime'] = '2012'
        found = self.import_findings(self.make(NEW))
        self.assertEqual(len(found), 1, found)
        self.assertIn('needs Windows Server 2012: look it up at run time', found[0])

    def test_what_is_looked_up_at_run_time_passes(self):
        self.assertEqual(self.import_findings(self.make(LOOKED_UP)), [])

    def test_narrow_form_that_no_library_is_known_to_call_is_found(self):
        made = self.make('#include <windows.h>\nint main(void) { return !DeleteFileA("a"); }\n')
        self.allowed['kernel32.dll', 'DeleteFileA'] = '2003'
        found = self.import_findings(made)
        self.assertEqual(len(found), 1, found)
        self.assertIn('DeleteFileA takes narrow text: call DeleteFileW', found[0])

    def test_list_names_known_servers_only(self):
        with self.assertRaises(ValueError):
            imports.read_list('[a.dll]\n2001: Function\n')
        with self.assertRaises(ValueError):
            imports.read_list('2003: Function\n')

    def test_each_narrow_form_that_is_excused_is_imported(self):
        listed = {name for _, name in self.allowed}
        self.assertEqual(set(imports.NARROW) - listed, set())

    def test_flags_that_are_off_are_found(self):
        found = program.findings(self.make(OLD, '-Wl,--disable-dynamicbase,--disable-nxcompat'))
        self.assertIn('probe.exe lacks IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE', found)
        self.assertIn('probe.exe lacks IMAGE_DLLCHARACTERISTICS_NX_COMPAT', found)

    def test_time_and_missing_resources_are_found(self):
        found = program.findings(self.make(OLD, '-Wl,--insert-timestamp'))
        self.assertIn('probe.exe carries the time of its making', found)
        self.assertIn('probe.exe has no resources', found)

    def test_system_that_is_too_old_is_found(self):
        found = program.findings(self.make(OLD, '-Wl,--major-subsystem-version,5'))
        self.assertTrue(any('is made for Windows 5.' in line for line in found), found)


if __name__ == '__main__':
    unittest.main()
