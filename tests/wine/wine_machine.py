#!/usr/bin/env python3
"""Windows machines for tests of whole processes: each one is a Wine prefix.

Run as a program it makes the pristine machine, of which every other one is a copy. The build folder
comes by the environment, as CMakeLists.txt sets it.
"""

import functools
import json
import os
import pty
import re
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path
from typing import Callable, List, NamedTuple, Optional

BUILD = Path(os.environ['HALVARD_BUILD'])
AGENT = BUILD / 'bin' / 'Ostrel-Halvard.exe'
# The agent with what Wine lacks put in.
WHOLE_AGENT = BUILD / 'tests' / 'halvard_on_wine.exe'
SCRIPTED_AGENT = BUILD / 'tests' / 'halvard_scripted.exe'
CLIENT = BUILD / 'bin' / 'hvctl.exe'
CONSOLE_PROBE = BUILD / 'tests' / 'console_probe.exe'
PROCESS_PROBE = BUILD / 'tests' / 'process_probe.exe'
# What lies beside the agent.
PACKAGES = BUILD / 'packages'
# Languages of the host, made on demand.
LOCALES = BUILD / 'wine-locales'

MACHINES = BUILD / 'wine-machines'
PRISTINE = MACHINES / 'pristine'
# A process that takes longer hangs; a start of Wine takes seconds on a busy machine.
PATIENCE_SECONDS = 120

LOG_LINE = re.compile(r'\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}Z\| halvard-14510545\| ([IWED]): (.*)')


class Run(NamedTuple):
    exit_code: int  # the lower byte, which is what a host process keeps of it
    console: str  # standard output with line ends of one character
    errors: str = ''  # standard error, to which Wine itself may add
    output: bytes = b''  # standard output as it came, of a program that was run to its end


def run_under_wine(prefix: Path, *command: str) -> List[str]:
    return [os.environ['HALVARD_RUN_UNDER_WINE'], str(prefix), *command]


def end_wine(prefix: Path) -> None:
    """Ends whatever runs on a machine, and returns once its registry is in its files."""
    for option in ('-k', '-w'):
        subprocess.run(['/usr/lib/wine/wineserver64', option], check=False,
                       env={**os.environ, 'WINEPREFIX': str(prefix)}, stderr=subprocess.DEVNULL)


def make_pristine_machine() -> None:
    MACHINES.mkdir(parents=True, exist_ok=True)
    if not (PRISTINE / 'ready').exists():
        subprocess.run(run_under_wine(PRISTINE, 'cmd', '/c', 'exit'), check=True,
                       stdin=subprocess.DEVNULL, env=environment({}))
    end_wine(PRISTINE)


def environment(more: Optional[dict]) -> dict:
    """A machine speaks English whatever the host does, and takes arguments in UTF-8."""
    return {**os.environ, 'LC_ALL': 'C.UTF-8', **(more or {})}


def language(name: str) -> dict:
    """The environment in which Wine shows a machine of a language, as "de_DE". It takes the host's, so
    the host is given one."""
    made = LOCALES / f'{name}.UTF-8'
    if not made.exists():
        LOCALES.mkdir(parents=True, exist_ok=True)
        # Warnings alone end it with 1.
        subprocess.run(['localedef', '-i', name, '-f', 'UTF-8', str(made)], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        if not made.exists():
            raise AssertionError(f'no language {name}: run cmake/setup/install-packages')
    return {'LOCPATH': str(LOCALES), 'LC_ALL': f'{name}.UTF-8', 'LANGUAGE': ''}


def decoded(output: bytes) -> str:
    return output.decode('utf-8').replace('\r\n', '\n')


class Process:
    """A Windows program that runs. Its standard input is a terminal, so it has a console to read
    from and hears Ctrl+C; its standard output is a pipe."""

    def __init__(self, command: List[str], variables: dict):
        self._terminal, inner = pty.openpty()
        self._process = subprocess.Popen(command, env=variables, stdin=inner,
                                         stdout=subprocess.PIPE, stderr=subprocess.DEVNULL,
                                         start_new_session=True)
        os.close(inner)
        self._output = bytearray()
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self) -> None:
        while piece := self._process.stdout.read1():
            self._output += piece

    @property
    def console(self) -> str:
        return decoded(bytes(self._output))

    def wait_for(self, text: str) -> None:
        self.wait_until(lambda: text in self.console, f'"{text}"')

    def wait_until(self, condition: Callable[[], bool], what: str) -> None:
        end = time.monotonic() + PATIENCE_SECONDS
        while not condition():
            if time.monotonic() > end or (self._process.poll() is not None and not condition()):
                raise AssertionError(f'the program never showed {what}, but:\n{self.console}')
            time.sleep(0.05)

    def type(self, keys: str) -> None:
        os.write(self._terminal, keys.encode())

    def wait(self) -> Run:
        code = self._process.wait(PATIENCE_SECONDS)
        self._reader.join()
        return Run(code % 256, self.console)

    def end(self) -> None:
        """Ends it by force, if it still runs."""
        if self._process.poll() is None:
            os.killpg(self._process.pid, signal.SIGKILL)
            self._process.wait()
        self._reader.join(PATIENCE_SECONDS)
        self._process.stdout.close()
        os.close(self._terminal)


class Machine:
    """A copy of the pristine machine, with nothing installed."""

    def __init__(self, name: str):
        self.prefix = MACHINES / name
        self._processes: List[Process] = []
        self.remove()
        # The files of the system are shared, since nobody writes to them; the registry is not.
        subprocess.run(['cp', '-a', '--link', PRISTINE, self.prefix], check=True)
        for path in PRISTINE.glob('*.reg'):
            (self.prefix / path.name).unlink()
            shutil.copy2(path, self.prefix)

    def remove(self) -> None:
        for process in self._processes:
            process.end()
        if self.prefix.exists():
            end_wine(self.prefix)
            shutil.rmtree(self.prefix)
        Path(f'{self.prefix}.lock').unlink(missing_ok=True)

    def run(self, *command, variables: Optional[dict] = None) -> Run:
        """Runs a program to its end, without a console to read from."""
        ended = subprocess.run(self._command(command), env=environment(variables),
                               input=b'', stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               timeout=PATIENCE_SECONDS, check=False)
        return Run(ended.returncode % 256, decoded(ended.stdout), decoded(ended.stderr), ended.stdout)

    def start(self, *command, variables: Optional[dict] = None) -> Process:
        process = Process(self._command(command), environment(variables))
        self._processes.append(process)
        return process

    def _command(self, command) -> List[str]:
        return run_under_wine(self.prefix, *map(str, command))

    def install_agent(self, program: Path) -> str:
        """Puts a build of the agent and its packages on the machine. Returns its path there."""
        folder = self.prefix / 'drive_c' / 'Halvard'
        folder.mkdir()
        os.link(program, folder / 'Ostrel-Halvard.exe')
        for package in PACKAGES.iterdir():
            shutil.copy(package, folder)
        return 'C:\\Halvard\\Ostrel-Halvard.exe'

    def variable(self, name: str) -> str:
        """What a Windows program sees in an environment variable."""
        return self.run('cmd', '/c', f'echo %{name}%').console.strip()

    def path(self, windows_path: str) -> Path:
        drive, rest = windows_path.split(':\\', 1)
        return self.prefix / 'dosdevices' / f'{drive.lower()}:' / rest.replace('\\', '/')

    def set_registry(self, key: str, name: str, text: str) -> None:
        added = self.run('reg', 'add', f'HKLM\\{key}', '/v', name, '/t', 'REG_SZ', '/d', text, '/f')
        if added.exit_code != 0:
            raise AssertionError(f'reg add failed: {added.errors}')

    def register_product(self, product: str, upgrade: str, version: str) -> None:
        """Leaves in the registry what the installer of a product leaves there."""
        installer = 'SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer'
        packed = packed_code(product)
        properties = f'{installer}\\UserData\\S-1-5-18\\Products\\{packed}\\InstallProperties'
        self.set_registry(f'{installer}\\UpgradeCodes\\{packed_code(upgrade)}', packed, '')
        self.set_registry(properties, 'DisplayVersion', version)
        self.set_registry(properties, 'WindowsInstaller', '1')
        self.set_registry(f'SOFTWARE\\Classes\\Installer\\Products\\{packed}', 'ProductName', 'Test')

    def register_service(self, name: str, account: str = 'LocalSystem') -> None:
        """A service that is stopped and has no program at its place."""
        # The exit code of Wine's tool isn't that of Windows': what it did tells.
        self.run('sc', 'create', name, f'binpath=C:\\{name}.exe', f'obj={account}')
        made = self.run('reg', 'query', f'HKLM\\System\\CurrentControlSet\\Services\\{name}',
                        '/v', 'ObjectName')
        if account not in made.console:
            raise AssertionError(f'sc create failed: {made.console}')

    @functools.cached_property
    def log_file(self) -> Path:
        return self.path(self.variable('TEMP')) / 'halvard.log'

    def log(self) -> List[str]:
        """The lines of the agent's log as "LEVEL: message". One without the form of a line goes on
        with the message before it."""
        lines = []
        for line in self.log_file.read_bytes().decode('utf-8').splitlines():
            match = LOG_LINE.fullmatch(line)
            if match:
                lines.append(f'{match.group(1)}: {match.group(2)}')
            elif lines:
                lines[-1] += f'\n{line}'
            else:
                raise AssertionError(f'not a line of the log: {line!r}')
        return lines

    def status(self) -> Optional[dict]:
        """What the agent's status file says, if there is one."""
        file = self.log_file.with_name('hv-status.json')
        return json.loads(file.read_text(encoding='utf-8')) if file.exists() else None


def packed_code(code: str) -> str:
    """A GUID as the installer names keys by it: the first three groups turned round whole, the
    others in pairs."""
    first, second, third, fourth, fifth = code.strip('{}').split('-')
    rest = fourth + fifth
    pairs = ''.join(rest[i + 1] + rest[i] for i in range(0, len(rest), 2))
    return first[::-1] + second[::-1] + third[::-1] + pairs


if __name__ == '__main__':
    sys.exit(make_pristine_machine())
