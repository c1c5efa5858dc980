#!/usr/bin/env python3
"""The check of the lab's page finds members that nobody explains."""

import unittest

from described_members import section, unexplained

PAGE = '# Page\n\n## One\n\n| `a`, `b` | both |\n\n## Two\n\n`"c": true` does it, d does not.\n'


class DescribedMembersTest(unittest.TestCase):

    def test_members_that_are_named_are_explained(self):
        self.assertEqual(unexplained(['a', 'b'], section(PAGE, 'One')), [])
        self.assertEqual(unexplained(['c'], section(PAGE, 'Two')), [])

    def test_member_that_is_named_elsewhere_is_found(self):
        self.assertEqual(unexplained(['a', 'c'], section(PAGE, 'Two')), ['a'])

    def test_mere_word_is_no_name(self):
        self.assertEqual(unexplained(['d'], section(PAGE, 'Two')), ['d'])

    def test_without_the_section_nothing_is_explained(self):
        self.assertEqual(unexplained(['a'], section(PAGE, 'Three')), ['a'])


if __name__ == '__main__':
    unittest.main()
