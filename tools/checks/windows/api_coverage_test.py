#!/usr/bin/python3
"""api_coverage.py is seen to tell what is called, what is tested and what lacks a reason."""

import tempfile
import unittest
from pathlib import Path

import api_coverage


class ApiCoverageTest(unittest.TestCase):

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)
        for name in ('src/host', 'src/pion', 'tests/windows_api'):
            (self.tree / name).mkdir(parents=True)

    def write(self, path: str, text: str) -> None:
        (self.tree / path).write_text(text, encoding='utf-8')

    def missing(self, *imported: str) -> list:
        return api_coverage.coverage(self.tree, set(imported)).missing

    def test_call_without_a_test_is_missing(self):
        self.write('src/host/a.cpp', 'void F() { ReadFile(a); WriteFile(a); }')
        self.write('tests/windows_api/a_test.cpp', 'ReadFile(a);')
        self.assertEqual(self.missing('ReadFile', 'WriteFile', 'CopyFileW'), ['WriteFile'])

    def test_comments_texts_and_libraries_call_nothing(self):
        self.write('src/host/a.cpp', '// WriteFile(a)\nlog.Info(L"ReadFile: failed");')
        self.write('src/pion/a.cpp', 'CopyFileW(a);')
        self.assertEqual(self.missing('ReadFile', 'WriteFile', 'CopyFileW'), [])

    def test_short_names_count_when_they_are_called(self):
        self.write('src/host/a.cpp', 'int bind = 1; server.listen(1); sendto(socket);')
        self.assertEqual(self.missing('bind', 'listen', 'sendto'), ['sendto'])

    def test_names_looked_up_at_run_time_count(self):
        self.write('src/host/a.cpp', 'GetProcAddress(module, "DnsFlush");')
        self.assertEqual(self.missing(), ['DnsFlush'])
        self.write('tests/windows_api/a_test.cpp', 'Find<Flush>("DnsFlush");')
        self.assertEqual(self.missing(), [])

    def test_use_of_an_owner_tests_what_releases(self):
        self.write('src/host/unique_resource.h',
                   'struct FileTraits {\n  static void Release(Type file) { CloseHandle(file); }\n};\n'
                   'using UniqueFile = UniqueResource<FileTraits>;\n')
        self.assertEqual(self.missing('CloseHandle'), ['CloseHandle'])
        self.write('tests/windows_api/a_test.cpp', 'UniqueFile file;')
        self.assertEqual(self.missing('CloseHandle'), [])

    def test_report_tells_lacking_and_needless_reasons(self):
        result = api_coverage.Coverage({'A', 'B', 'C'}, {'A'})
        self.assertEqual(api_coverage.report(result, {'A': 'old', 'B': 'Wine lacks it'}), [
            'no conformance test: B: Wine lacks it',
            'no conformance test: C: and no reason is known',
            'needs no reason any more: A',
            '1 of 3 Windows functions that the agent calls have a conformance test, 1 lack one for a '
            'known reason'])


if __name__ == '__main__':
    unittest.main()
