"""./rehearse --interactive at a terminal: its user mistypes the password, then gives the right one."""

import os
import pty
import re
import select
import sys
import termios
import time
import unittest

import programs

FOLDER = programs.take_folder()
PATIENCE_SECONDS = 120
ECHO_FLAGS = 3  # where tcgetattr has them


class Terminal:
    """A program at a terminal of its own."""

    def __init__(self, *command):
        self.shown = ''
        self._seen = 0
        self.process, self._terminal = pty.fork()
        if self.process == 0:
            os.execv(command[0], [str(word) for word in command])

    def wait_for(self, pattern):
        """Reads on until the pattern shows behind what was waited for before."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        while True:
            match = re.compile(pattern).search(self.shown, self._seen)
            if match:
                self._seen = match.end()
                return match
            if time.monotonic() > deadline or not self._read():
                raise AssertionError(f'{pattern} never shows:\n{self.shown}')

    def type_hidden(self, text):
        """Types once the program has turned the echo off."""
        deadline = time.monotonic() + PATIENCE_SECONDS
        while termios.tcgetattr(self._terminal)[ECHO_FLAGS] & termios.ECHO:
            if time.monotonic() > deadline:
                raise AssertionError('the echo is never turned off')
            time.sleep(0.01)
        os.write(self._terminal, (text + '\r').encode())

    def exit_code(self):
        while self._read():
            pass
        return os.waitstatus_to_exitcode(os.waitpid(self.process, 0)[1])

    def _read(self):
        if not select.select([self._terminal], [], [], PATIENCE_SECONDS)[0]:
            return False
        try:
            piece = os.read(self._terminal, 65536)
        except OSError:  # so a terminal tells that its last program has ended
            return False
        self.shown += piece.decode('utf-8', 'replace').replace('\r', '')
        return bool(piece)


class Interactive(unittest.TestCase):
    def test_wrong_password_is_asked_for_again(self):
        terminal = Terminal(programs.REHEARSE, '--programs', FOLDER, '--export-size', '1M',
                            '--type', 'infrastructure', '--source', 'platform', '--interactive')
        password = terminal.wait_for(r'The password of \S+ is (\w+)\n')[1]
        terminal.wait_for('Enter Administrator@ostrel.local password: ')
        terminal.type_hidden('wrong')
        terminal.wait_for(r'\*\*\*\*\*\n')
        terminal.wait_for('Enter Administrator@ostrel.local password: ')
        terminal.type_hidden(password)
        terminal.wait_for('Every step ended well.')
        self.assertEqual(terminal.exit_code(), 0)
        self.assertNotIn('wrong', terminal.shown)


if __name__ == '__main__':
    programs.skip_without_appliance(FOLDER)
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
