#!/usr/bin/env python3
"""Each rule of windows_sources.py is seen to find what it forbids, and to let pass what it doesn't."""

import tempfile
import unittest
from pathlib import Path

import windows_sources


class WindowsSourcesTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)

    def findings(self, code: str, rooms=None, releases=None) -> list:
        file = self.tree / 'src/host/probe.cpp'
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(code, encoding='utf-8')
        return windows_sources.findings(self.tree, rooms or {}, releases or {})

    def test_narrow_call_is_found_with_its_line(self):
        self.assertEqual(
            self.findings('int a;\nvoid F() { DeleteFileA("x"); }\n'),
            ['src/host/probe.cpp:2: DeleteFileA takes narrow text: call DeleteFileW'])
        self.assertNotEqual(self.findings('auto file = ::CreateFileA(name);'), [])

    def test_wide_calls_comments_texts_and_names_pass(self):
        self.assertEqual(self.findings(
            '// DeleteFileA("x")\n/* CreateFileA(\n */ void F() { DeleteFileW(L"CreateFileA("); '
            'object.ReadDataA(1); char quote = \'"\'; }\n'), [])

    def test_room_of_a_path_wants_a_reason(self):
        code = 'wchar_t room[MAX_PATH] = {};\n'
        self.assertIn('MAX_PATH stands 1 times here, and 0 are known', self.findings(code)[0])
        self.assertEqual(self.findings(code, rooms={'src/host/probe.cpp': (1, 'a reason')}), [])
        self.assertEqual(len(self.findings(code * 2, rooms={'src/host/probe.cpp': (1, '')})), 1)

    def test_release_by_hand_is_found(self):
        for call in ('CloseHandle(file)', '::LocalFree(text)', 'shell->Release()'):
            code = f'void F() {{ {call}; }}\n'
            self.assertEqual(len(self.findings(code)), 1, call)
            self.assertEqual(self.findings(code, releases={'src/host/probe.cpp': 'owner'}), [])

    def test_excuse_without_its_file_is_found(self):
        self.assertEqual(self.findings('', rooms={'src/gone.cpp': (0, 'a reason')}),
                         ['src/gone.cpp: is excused in windows_sources.py, but is not there'])


if __name__ == '__main__':
    unittest.main()
