#!/usr/bin/env python3
"""The page of messages has one row for each, and nothing is left out in silence."""

import sys
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
import messages_page  # noqa: E402

SCRIPT = 'STRINGTABLE\nBEGIN\n  1001 "One ""[0]"" | <x>"\n  1002 "Two\\n"\nEND\n'
CAUSES = '# Comment\n\n1001 It happens.\n  Do it.\n1002 It happened.\n  -\n'


class MessagesPageTest(unittest.TestCase):

    def test_each_message_is_a_row(self):
        rows = messages_page.page(SCRIPT, CAUSES).splitlines()[-2:]
        self.assertEqual(rows, [r'| 1001 | One "[0]" \| &lt;x> | It happens. | Do it. |',
                                r'| 1002 | Two\n | It happened. |  |'])

    def test_message_without_a_cause_is_an_error(self):
        with self.assertRaisesRegex(ValueError, '1002'):
            messages_page.page(SCRIPT, CAUSES.replace('1002 It happened.\n  -\n', ''))

    def test_cause_without_a_message_is_an_error(self):
        with self.assertRaisesRegex(ValueError, '1003'):
            messages_page.page(SCRIPT, CAUSES + '1003 Never.\n  -\n')

    def test_line_of_another_form_is_an_error(self):
        with self.assertRaises(ValueError):
            messages_page.page(SCRIPT, CAUSES + 'and so on\n')
        with self.assertRaises(ValueError):
            messages_page.page(SCRIPT, CAUSES + '1002 Again.\n  -\n')


if __name__ == '__main__':
    unittest.main()
