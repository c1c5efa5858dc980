"""What a rehearsal says while it runs, and the table at its end."""

import contextlib
import threading
import time


class StepFailed(Exception):
    """A step that didn't end as it has to. Its text says what was expected and what was found."""


class Narrator:
    def __init__(self, stream):
        self._stream = stream
        self._lock = threading.Lock()
        self.rows = []

    def step(self, title):
        self.line(f'\n== {title}')

    def line(self, text):
        """Writes one line; several threads may."""
        with self._lock:
            self._stream.write(text + '\n')
            self._stream.flush()

    @contextlib.contextmanager
    def timed(self, name):
        """A row of the table: how what is done here ends, and how long it takes."""
        started = time.monotonic()
        outcome = 'FAILED'
        try:
            yield
            outcome = 'ok'
        finally:
            self.rows.append((outcome, time.monotonic() - started, name))

    def check(self, name, test, *arguments):
        """Runs a test of what is there now; its answer, a text, goes into the table.
        Returns whether it holds. A failure doesn't keep others from being looked at."""
        started = time.monotonic()
        # Some take minutes, with gigabytes to read.
        self.line(f'   {name}')
        try:
            found = test(*arguments)
        except Exception as failure:  # pylint: disable=broad-except; whatever it is, it isn't well
            self.line(f'   FAILED: {name}: {failure}')
            self.rows.append(('FAILED', time.monotonic() - started, f'{name}: {failure}'))
            return False
        self.rows.append(('ok', time.monotonic() - started, f'{name}: {found}'))
        return True

    def table(self):
        self.step('Summary')
        for outcome, seconds, name in self.rows:
            self.line(f'  {outcome:<7} {seconds:7.1f} s  {name}')

    def all_held(self):
        return bool(self.rows) and all(outcome == 'ok' for outcome, _, _ in self.rows)
