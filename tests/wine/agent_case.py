"""What the tests of the agent as a whole process share: its messages, a machine for each test, and the
product that costs least to find."""

import os
import re
import sys
import unittest
from pathlib import Path

import wine_machine
from wine_machine import Machine

SKIPPED = 77  # what CTest takes for a test that chose not to run
FAILURE = 255  # -1, of which a host process keeps the lower byte
SINGLE_SIGN_ON_55 = '{A0B1C2D3-3333-4A33-8A33-0000000000C3}'
PASSWORD = 's3cret'
ACCEPTED_PASSWORD = 'right \u00e4\u6771\u4eac'  # by the checks of the scripted agent


def read_messages(language: str) -> dict:
    folder = Path(os.environ['HALVARD_MESSAGES'])
    script = (folder / f'messages_{language}.rc').read_text(encoding='utf-8')
    escapes = {r'\n': '\n', r'\\': '\\', '""': '"'}
    return {int(number): re.sub(r'\\n|\\\\|""', lambda match: escapes[match.group()], text)
            for number, text in re.findall(r'^\s*(\d+) "(.*)"$', script, re.MULTILINE)}


MESSAGES = read_messages('en')


def english(number: int, *arguments: str) -> str:
    text = MESSAGES[number]
    for i, argument in enumerate(arguments):
        text = text.replace(f'[{i}]', argument)
    return text


def register_single_sign_on(machine: Machine) -> None:
    machine.register_product('{5C0F4E0B-7B3A-4F0B-9C57-2A6E6D1F5503}', SINGLE_SIGN_ON_55,
                             '5.5.0.2001466')


def set_single_sign_on_port(machine: Machine) -> None:
    machine.set_registry('SOFTWARE\\Ostrel, Inc.\\Ostrel Infrastructure\\SSOServer', 'HttpsPort',
                         '7444')


def install_single_sign_on(machine: Machine) -> None:
    register_single_sign_on(machine)
    set_single_sign_on_port(machine)


class WineTest(unittest.TestCase):
    """A test on a machine of its own, with nothing installed."""

    maxDiff = None

    def setUp(self):
        self.machine = Machine(self.id().removeprefix('__main__.'))
        self.addCleanup(self.machine.remove)

    def without_log_notice(self, console: str) -> str:
        """A failed run's console without the notice where its logs are, which has to be there. Wine
        has no zip folders, so it names the log itself."""
        notice = f'\n{english(1161, self.machine.variable("TEMP"))}'
        match = re.search(re.escape(notice) + r'\\halvard\.log\n', console, re.IGNORECASE)
        self.assertIsNotNone(match, console)
        return console.replace(match.group(), '')

    def assert_no_password_in(self, console: str) -> None:
        for password in (PASSWORD, ACCEPTED_PASSWORD):
            self.assertNotIn(password, console)
            self.assertNotIn(password, self.machine.log_file.read_text(encoding='utf-8'))


def main() -> int:
    wine_machine.make_pristine_machine()
    result = unittest.main(verbosity=2, exit=False).result
    for test, reason in result.skipped:
        # In the words that the sum of all tests looks for.
        print(f'{Path(sys.argv[0]).name}: Skipped\n{reason}\n[  SKIPPED ] {test.id()}')
    if not result.wasSuccessful():
        return 1
    return SKIPPED if result.testsRun == len(result.skipped) else 0
