#!/usr/bin/env python3
"""The sum of a test run counts what happened, and counts nothing as passed that didn't run."""

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path
from unittest import mock

import test_results

PASSED = '<testcase name="a.Passes" status="run"><system-out>ok</system-out></testcase>'
FAILED = '<testcase name="a.Fails" status="fail"><failure message="Timeout"/></testcase>'
SKIPPED = '''<testcase name="a.Skips" status="notrun">
<skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/><system-out>[ RUN      ] a.Skips
/tree/a.cpp:4: Skipped
no zone
here
[  SKIPPED ] a.Skips (0 ms)
</system-out></testcase>'''
SKIPPED_SCRIPT = '''<testcase name="c.script" status="notrun">
<skipped message="SKIP_RETURN_CODE=77"/><system-out>Skipped: no mounts
</system-out></testcase>'''
MISSING = '''<testcase name="b_NOT_BUILT" status="notrun">
<skipped message="Unable to find executable"/></testcase>'''


class TestResultsTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.report = Path(folder.name) / 'report.xml'

    def run_on(self, *cases):
        self.report.write_text(f'<testsuite>{"".join(cases)}</testsuite>', encoding='utf-8')
        return self.run_main()

    def run_main(self):
        output = io.StringIO()
        with mock.patch.object(sys, 'argv', ['test_results.py', f'native={self.report}']):
            with contextlib.redirect_stdout(output):
                status = test_results.main()
        return status, output.getvalue().splitlines()

    def test_all_passed(self):
        self.assertEqual(self.run_on(PASSED, PASSED), (0, ['2 passed, 0 failed, 0 skipped']))

    def test_a_failure_decides(self):
        status, lines = self.run_on(PASSED, FAILED)
        self.assertEqual(status, 1)
        self.assertEqual(lines, ['failed (native): a.Fails: Timeout',
                                 '1 passed, 1 failed, 0 skipped'])

    def test_a_skipped_test_tells_its_reason(self):
        status, lines = self.run_on(PASSED, SKIPPED)
        self.assertEqual(status, 0)
        self.assertEqual(lines, ['skipped (native): a.Skips: no zone here',
                                 '1 passed, 0 failed, 1 skipped'])

    def test_a_skipped_script_tells_its_reason(self):
        _, lines = self.run_on(PASSED, SKIPPED_SCRIPT)
        self.assertEqual(lines[0], 'skipped (native): c.script: no mounts')

    def test_a_reason_is_found_in_output_with_carriage_returns(self):
        _, lines = self.run_on(PASSED, SKIPPED.replace('\n', '&#13;\n'))
        self.assertEqual(lines[0], 'skipped (native): a.Skips: no zone here')

    def test_a_program_that_was_not_built_is_a_failure(self):
        status, lines = self.run_on(PASSED, MISSING)
        self.assertEqual(status, 1)
        self.assertEqual(lines[0], 'failed (native): b_NOT_BUILT: Unable to find executable')

    def test_a_run_without_tests_is_a_failure(self):
        self.assertEqual(self.run_on()[0], 1)

    def test_a_run_of_nothing_but_skips_is_a_failure(self):
        self.assertEqual(self.run_on(SKIPPED)[0], 1)

    def test_a_run_without_a_report_is_a_failure(self):
        status, lines = self.run_main()
        self.assertEqual(status, 1)
        self.assertIn('left no report', lines[0])
        self.assertEqual(lines[-1], '0 passed, 1 failed, 0 skipped')

    def test_a_broken_report_is_a_failure(self):
        self.report.write_text('<testsuite><testcase', encoding='utf-8')
        self.assertEqual(self.run_main()[0], 1)


if __name__ == '__main__':
    unittest.main()
