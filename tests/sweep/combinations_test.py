"""Which failures a sweep tries, and what of a run it compares."""

import sys
import tempfile
import types
import unittest
import zipfile
from pathlib import Path

import sweep_modules  # noqa: F401  pylint: disable=unused-import

# pylint: disable=wrong-import-order,import-error
from call_sites import CallSite, distinct
from combinations import FROM_THEN_ON, ONCE, combinations_of, one_of_each_call, sample
from observation import lines_of_log, places_of_secrets, without_chance


def site(function, number=1, calls=1, frames=('src/host/files.cpp:7',)):
    return CallSite(function, f'{number:x}', calls, frames, number)


class Combinations(unittest.TestCase):
    def test_each_code_is_tried_once_and_from_then_on(self):
        tried = [(c.code, c.mode) for c in combinations_of('start', [site('DeleteFileW')])]
        self.assertEqual(tried, [(2, ONCE), (2, FROM_THEN_ON), (5, ONCE), (5, FROM_THEN_ON),
                                 (32, ONCE), (32, FROM_THEN_ON)])

    def test_of_many_calls_the_first_and_the_last_are_tried(self):
        calls = {c.call for c in combinations_of('start', [site('FindClose', calls=40)])}
        self.assertEqual(calls, {1, 40})

    def test_a_function_that_cannot_fail_is_left_alone(self):
        self.assertEqual(combinations_of('start', [site('Sleep')]), [])

    def test_what_tells_of_an_event_does_not_come_for_ever(self):
        tried = [(c.code, c.mode) for c in combinations_of('start', [site('ReadConsoleW')])]
        self.assertEqual(tried, [(995, ONCE), (6, ONCE), (6, FROM_THEN_ON)])

    def test_a_fault_names_the_place_and_the_call(self):
        once, on = combinations_of('start', [site('FindClose', number=26)])
        self.assertEqual(once.fault(), {'function': 'FindClose', 'site': '1a', 'error': 5, 'call': 1})
        self.assertEqual(on.fault(), {'function': 'FindClose', 'site': '1a', 'error': 5, 'from': 1})

    def test_names_tell_combinations_apart(self):
        sites = [site('DeleteFileW', number=n, calls=3) for n in (1, 2)]
        names = [c.name for c in combinations_of('start', sites)]
        self.assertEqual(len(names), len(set(names)))

    def test_one_code_of_each_call_is_the_first_once(self):
        sites = [site('DeleteFileW'), site('FindClose', number=2, calls=40), site('FindClose', number=3)]
        chosen = one_of_each_call(combinations_of('start', sites))
        self.assertEqual([(c.site.function, c.site.number, c.call, c.code, c.mode) for c in chosen],
                         [('DeleteFileW', 1, 1, 2, ONCE), ('FindClose', 2, 1, 5, ONCE),
                          ('FindClose', 2, 40, 5, ONCE), ('FindClose', 3, 1, 5, ONCE)])

    def test_a_sample_takes_each_function_before_it_takes_one_again(self):
        sites = [site('FindClose', number=n) for n in range(1, 30)] + [site('DeleteFileW'),
                                                                       site('CopyFileW')]
        chosen = sample(combinations_of('start', sites), 3, seed=1)
        self.assertEqual({c.site.function for c in chosen}, {'FindClose', 'DeleteFileW', 'CopyFileW'})

    def test_a_sample_takes_each_place_before_it_takes_one_again(self):
        sites = [site('FindClose', number=n, calls=9, frames=(f'src/host/files.cpp:{n}',))
                 for n in range(1, 6)]
        chosen = sample(combinations_of('start', sites), 5, seed=1)
        self.assertEqual(len({c.site.place for c in chosen}), 5)

    def test_a_sample_is_the_same_for_the_same_seed_and_another_for_another(self):
        combinations = combinations_of('start', [site('FindClose', number=n) for n in range(1, 90)])
        names = [[c.name for c in sample(combinations, 9, seed)] for seed in (1, 1, 2)]
        self.assertEqual(names[0], names[1])
        self.assertNotEqual(names[0], names[2])

    def test_a_sample_never_has_more_than_there_are(self):
        combinations = combinations_of('start', [site('FindClose')])
        self.assertEqual(len(sample(combinations, 50, seed=1)), 2)


class Sites(unittest.TestCase):
    def test_ways_to_one_place_are_told_apart(self):
        ways = [site('FindClose', 1, frames=('src/host/files.cpp:7', 'src/a.cpp:1')),
                site('FindClose', 2, frames=('src/host/files.cpp:7', 'src/a.cpp:2')),
                site('FindClose', 3, frames=('src/host/files.cpp:7', 'src/a.cpp:1'))]
        self.assertEqual([way.number for way in distinct(ways)], [1, 2])

    def test_who_writes_a_line_of_the_log_makes_no_difference(self):
        ways = [site('FileTimeToSystemTime', n, frames=('src/core/log_file.cpp:7', f'src/a.cpp:{n}'))
                for n in (1, 2)]
        self.assertEqual(len(distinct(ways)), 1)


class Observations(unittest.TestCase):
    def test_lines_are_told_by_level_and_text(self):
        log = ('2026-01-31 12:00:00.123Z| halvard-14510545| E: Failed: 5\n'
               '2026-01-31 12:00:01.123Z| halvard-14510545| W: Port 49152\n')
        self.assertEqual(dict(lines_of_log(log)), {('E', 'Failed: 5'): 1, ('W', 'Port N'): 1})

    def test_thumbprints_and_large_numbers_are_left_to_chance_and_codes_are_not(self):
        self.assertEqual(without_chance(':'.join(['0A'] * 20) + ' 20261122030000 122'),
                         'THUMBPRINT N 122')

    def test_a_secret_is_found_in_each_width_and_in_a_zip_file(self):
        with tempfile.TemporaryDirectory() as folder:
            machine = types.SimpleNamespace(folder=Path(folder))
            for width, name in ((1, 'narrow'), (2, 'wide'), (4, 'wider')):
                text = b''.join(bytes([byte]) + bytes(width - 1) for byte in b's3cret')
                (machine.folder / name).write_bytes(b'x' + text)
            with zipfile.ZipFile(machine.folder / 'logs.zip', 'w', zipfile.ZIP_DEFLATED) as archive:
                archive.writestr('halvard.log', 's3cret' * 9)
            (machine.folder / 'machine.json').write_text('s3cret', encoding='utf-8')
            found = places_of_secrets(machine, 0, ['s3cret'], {'shown': 's3cret', 'said': ''})
            self.assertEqual(sorted(Path(place).name for place in found),
                             ['halvard.log', 'narrow', 'what was shown', 'wide', 'wider'])


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v'])
