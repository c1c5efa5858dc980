#!/usr/bin/env python3
"""What the comparison of two logs finds, and what it takes for the same."""

import unittest

from log_comparison import EXPLAINED, masked, once, unexplained

HEAD = '2026-11-22 03:40:09.001Z| halvard-14510545| '
# Lines without which a reason would have nothing to explain.
NATIVE = ['E: IsFQDN: IPv6 FQDN check for kvsource.corp.example failed: 9501']
WINE = ['I: GetIPAddressesFromHostName: Family: [AF_INET]']


def findings(native=(), wine=()):
    return unexplained(*(''.join(f'{HEAD}{line}\n' for line in lines)
                         for lines in ([*NATIVE, *native], [*WINE, *wine])))


class Comparison(unittest.TestCase):
    def test_logs_that_tell_the_same_are_alike(self):
        self.assertEqual(findings(
            ['I: A: C:\\Users\\Administrator\\AppData\\Local\\Temp\\kvsMigration', 'W: B: 12', 'E: C: 0xAB'],
            ['I: A: C:\\users\\root\\Temp\\kvsMigration', 'W: B: 7', 'E: C: 0x00C4']), [])

    def test_line_of_one_side_is_found(self):
        self.assertEqual(findings(['I: A: a'], []), ['native alone: I: A: a'])
        self.assertEqual(findings([], ['I: A: a']), ['wine alone: I: A: a'])

    def test_another_level_is_found(self):
        self.assertEqual(findings(['I: A: a'], ['E: A: a']),
                         ['native alone: I: A: a', 'wine alone: E: A: a'])

    def test_line_of_another_thread_may_stand_elsewhere(self):
        self.assertEqual(findings(['I: A: a', 'I: B: b', 'I: C: c'],
                                  ['I: C: c', 'I: A: a', 'I: B: b']), [])

    def test_explained_line_is_none_on_the_other_side(self):
        line = 'I: ValidateFqdn: Check failed for IPv6 address and name'
        self.assertEqual(findings([], [line]), [])
        self.assertEqual(len(findings([line], [])), 1)

    def test_reason_without_a_difference_is_found(self):
        self.assertEqual(unexplained('', ''), [f'no longer true: {entry.reason}'
                                               for entry in EXPLAINED if not entry.sometimes])

    def test_repetitions_are_taken_once(self):
        self.assertEqual(once(['a', 'a', 'b', 'c', 'b', 'c', 'b', 'd']), ['a', 'b', 'c', 'b', 'd'])

    def test_lines_of_a_long_message_are_compared_too(self):
        self.assertEqual(masked(f'{HEAD}I: A: {{\n   "port" : 9123\n'),
                         ['I: A: {', '   "port" : <N>'])


if __name__ == '__main__':
    unittest.main(verbosity=2)
