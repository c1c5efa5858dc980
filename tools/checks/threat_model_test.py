#!/usr/bin/env python3
"""The check of the threat model finds claims without a test."""

import tempfile
import unittest
from pathlib import Path

import threat_model

HEAD = '| What | Test |\n|---|---|\n'


class ThreatModelTest(unittest.TestCase):

    def found(self, document):
        return threat_model.faults(document, {'Suite.Name', 'a_test.py:Class.test_it'})

    def test_claims_with_tests_are_well(self):
        self.assertEqual(self.found(HEAD + '| a | `Suite.Name`, `a_test.py:Class.test_it` |\n'), [])

    def test_claim_without_a_test_is_found(self):
        self.assertEqual(self.found(HEAD + '| a | - |\n'), ['no test behind: a'])
        self.assertEqual(self.found(HEAD + '| b `Suite.Name` | see there |\n'),
                         ['no test behind: b `Suite.Name`'])

    def test_test_that_is_not_there_is_found(self):
        self.assertEqual(self.found(HEAD + '| a | `Suite.Name`, `Suite.Other` |\n'),
                         ['no such test: Suite.Other'])

    def test_other_tables_make_no_claims(self):
        self.assertEqual(self.found('| What | Why |\n|---|---|\n| a | b |\n'), [])
        self.assertEqual(self.found(HEAD + '\n| What | Why |\n|---|---|\n| a | b |\n'), [])

    def test_tests_of_both_kinds_are_known(self):
        with tempfile.TemporaryDirectory() as folder:
            Path(folder, 'one.cpp').write_text(
                'TEST(A, B) {}\n  TEST(No, Test)\nTEST_F(C, D) {\nTEST_P(E,\n       F) {',
                encoding='utf-8')
            Path(folder, 'two.py').write_text('class G:\n  def h(self): pass\ndef i(): pass\n',
                                              encoding='utf-8')
            self.assertEqual(threat_model.known_tests(Path(folder)),
                             {'A.B', 'C.D', 'E.F', 'two.py:G.h'})


if __name__ == '__main__':
    unittest.main()
