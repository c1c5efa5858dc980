#!/usr/bin/env python3
"""python.exe of the interpreter's package: the host's Python as a Windows program."""

import json
import os
import time
import unittest
from pathlib import Path

import wine_machine
from wine_machine import BUILD, PATIENCE_SECONDS, PROCESS_PROBE, Machine

INTERPRETER = 'C:\\Python here\\python.exe'
SCRIPT = 'C:\\Python here\\script.py'


class Interpreter(unittest.TestCase):
    def setUp(self):
        self.machine = Machine(self.id().removeprefix('__main__.'))
        self.addCleanup(self.machine.remove)
        self.folder = self.machine.prefix / 'drive_c' / 'Python here'
        self.folder.mkdir()
        (self.machine.prefix / 'run').mkdir()
        os.link(BUILD / 'tests' / 'python.exe', self.folder / 'python.exe')

    def write_script(self, text):
        (self.folder / 'script.py').write_text(text, encoding='utf-8')

    def run_script(self, text, *arguments):
        self.write_script(text)
        return self.machine.run(INTERPRETER, SCRIPT, *arguments)

    def run_as_child_of_the_agent(self, text):
        """Returns the lines of the agent's log."""
        self.write_script(text)
        self.machine.run(PROCESS_PROBE, f'"{INTERPRETER}" "{SCRIPT}"')
        return self.machine.log()

    def number_in(self, name):
        """What a script writes into a file beside it, once it has done so."""
        end = time.monotonic() + PATIENCE_SECONDS
        file = self.folder / name
        while not file.exists() or not file.read_text(encoding='ascii'):
            self.assertLess(time.monotonic(), end, name)
            time.sleep(0.02)
        return int(file.read_text(encoding='ascii'))

    def assert_ends(self, process):
        end = time.monotonic() + PATIENCE_SECONDS
        while Path(f'/proc/{process}').exists():
            self.assertLess(time.monotonic(), end, 'the process lives on')
            time.sleep(0.02)

    def test_takes_arguments_as_they_are_and_paths_as_the_host_has_them(self):
        drive = self.machine.prefix / 'drive_c'
        run = self.run_script('import json, sys; print(json.dumps(sys.argv))', 'a "b" c\\', '', 'C:\\',
                              '--file=C:\\Python here\\new\\\u00e4 \u6771\u4eac.json', 'D:\\none', 'C:x',
                              '\\\\"')
        self.assertEqual(json.loads(run.console), [
            f'{drive}/Python here/script.py', 'a "b" c\\', '', f'{drive}/',
            f'--file={drive}/Python here/new/\u00e4 \u6771\u4eac.json', 'D:\\none', 'C:x', '\\\\"'])

    def test_has_the_standard_handles_of_the_program(self):
        self.write_script('import sys\nprint("read", sys.stdin.read())\n'
                          'print("x" * 100000)\nprint("told", file=sys.stderr)')
        (self.folder / 'piped.bat').write_text(
            f'@echo given| "{INTERPRETER}" "{SCRIPT}"\r\n', encoding='ascii')
        piped = self.machine.run('cmd', '/c', 'C:\\Python here\\piped.bat')
        self.assertEqual(piped.console.split()[:3], ['read', 'given', 'x' * 100000])
        self.assertIn('told', piped.errors)

    def test_tells_exit_codes_of_32_bits(self):
        log = self.run_as_child_of_the_agent(
            'import os\nfile = f"{os.environ[\'HALVARD_LAB\']}/run/exit-{os.getpid()}"\n'
            'open(file, "w").write(str(0x12345678))')
        self.assertIn('I: MonitorStatusFile: Other process terminated with 305419896, exiting', log)
        self.assertEqual(list((self.machine.prefix / 'run').iterdir()), [])

    def test_tells_a_crash_as_windows_does(self):
        log = self.run_as_child_of_the_agent('import os\nos.abort()')
        self.assertIn('I: MonitorStatusFile: Other process terminated with 3, exiting', log)

    def test_leaves_no_process_behind(self):
        self.run_as_child_of_the_agent(
            'import os, time\nif os.fork() == 0:\n  os.setsid()\n  if os.fork() == 0:\n'
            '    time.sleep(3600)\n  os._exit(0)\nelse:\n  os.wait()\n'
            f'open(__file__ + ".done", "w").write(str(os.getpid()))')
        self.assert_ends(self.number_in('script.py.done'))
        self.assertEqual(self.sleepers(), [])

    def sleepers(self):
        """Processes of the host that run the script."""
        mark = str(self.folder / 'script.py').encode()
        found = []
        for folder in Path('/proc').iterdir():
            try:
                if folder.name.isdigit() and mark in (folder / 'cmdline').read_bytes().split(b'\0'):
                    found.append(folder.name)
            except OSError:
                continue
        return found

    def test_ends_with_the_program_when_that_is_killed(self):
        self.write_script('import os, time\nchild = os.fork()\nif child:\n'
                          '  open(__file__ + ".pid", "w").write(str(os.getpid()))\ntime.sleep(3600)')
        self.machine.start(INTERPRETER, SCRIPT)
        process = self.number_in('script.py.pid')
        self.machine.run('taskkill', '/f', '/im', 'python.exe')
        self.assert_ends(process)
        end = time.monotonic() + PATIENCE_SECONDS
        while self.sleepers():
            self.assertLess(time.monotonic(), end, 'a child lives on')
            time.sleep(0.02)


if __name__ == '__main__':
    wine_machine.make_pristine_machine()
    unittest.main(verbosity=2)
