"""A started machine of the lab, as its folder shows it."""

import contextlib
import json
import os
import signal
import subprocess
from pathlib import Path

from narrator import StepFailed

TEMP = 'Users/Administrator/AppData/Local/Temp'
OPENING = 'Ostrel-Halvard (Temporary)'
AGENT_FOLDER = 'Users/Administrator/AppData/Local/Ostrel/Halvard'
EXPORT_LINE = 'CreateUpgradeRunnerInputFile: Export directory is: '


def merge(target, patch):
    """RFC 7396: objects member by member, None removes, all else replaces."""
    if not isinstance(patch, dict):
        return patch
    merged = dict(target) if isinstance(target, dict) else {}
    for name, value in patch.items():
        if value is None:
            merged.pop(name, None)
        else:
            merged[name] = merge(merged.get(name), value)
    return merged


def files_below(folder):
    return (path for path in folder.rglob('*') if path.is_file() and not path.is_symlink())


def content(path):
    """Of one of the system's many small files."""
    with open(path, 'rb', buffering=0) as file:
        return file.read()


class AgentFiles:
    """What the agent leaves below `temp_folder`, which is the machine's to tell."""

    def find(self, name):
        """The one file of this name below the temp folder; None without it."""
        return next(self.temp_folder.rglob(name), None)

    def status(self):
        """The status file's document; None without one, or while it is written."""
        file = self.find('hv-status.json')
        try:
            return json.loads(file.read_text(encoding='utf-8')) if file else None
        except (OSError, ValueError):
            return None


class LabMachine(AgentFiles):
    firewall_is_on = True

    def __init__(self, programs, name, folder):
        self.folder = Path(folder)
        self.name = name
        self._agent = programs / 'halvard'
        self._tool = programs / 'lab-machine'
        started = subprocess.run([self._tool, 'start', name, folder], capture_output=True,
                                 text=True, check=False)
        if started.returncode != 0:
            raise StepFailed(started.stderr.strip())

    def agent_command(self, *arguments):
        return [str(self._agent), *arguments]

    @property
    def agent_environment(self):
        return {'HALVARD_LAB': str(self.folder)}

    def description(self):
        return json.loads((self.folder / 'machine.json').read_text(encoding='utf-8'))

    def describe(self, patch):
        """Lays a merge patch over the description."""
        document = merge(self.description(), patch)
        (self.folder / 'machine.json').write_text(
            json.dumps(document, ensure_ascii=False, indent=1), encoding='utf-8')

    def validate(self):
        told = subprocess.run([self._tool, 'validate', self.folder], capture_output=True,
                              text=True, check=False)
        if told.returncode != 0:
            raise StepFailed(told.stdout.strip())

    def add_to_registry(self, key, name, text):
        with open(self.folder / 'registry.reg', 'a', encoding='utf-8') as file:
            file.write(f'\n[{key}]\n"{name}"="{text}"\n')

    @property
    def drive(self):
        return self.folder / 'drive_c'

    @property
    def temp_folder(self):
        return self.drive / TEMP

    @property
    def export_folder(self):
        """Of the last export: each further one of an agent goes one folder deeper."""
        told = [line for line in self.log().splitlines() if EXPORT_LINE in line]
        if not told:
            return self.drive / AGENT_FOLDER / 'export'
        path = told[-1].partition(EXPORT_LINE)[2]
        return self.drive / path.removeprefix('C:\\').replace('\\', '/')

    @property
    def export_zip(self):
        return self.export_folder.with_name('export.zip')

    @property
    def extraction_folder(self):
        return self.drive / AGENT_FOLDER / 'PythonURExtractDir'

    def files(self):
        """All that is on the machine."""
        return files_below(self.folder)

    def log(self):
        file = self.find('halvard.log')
        return file.read_text(encoding='utf-8', errors='replace') if file else ''

    def shutdown(self):
        """How the machine was told to shut down; None if it wasn't."""
        file = self.folder / 'shutdown.json'
        return json.loads(file.read_text(encoding='utf-8')) if file.exists() else None

    def agents_openings(self):
        """The ports that are open in the firewall under the agent's name."""
        file = self.folder / 'firewall.json'
        openings = json.loads(file.read_text(encoding='utf-8'))['openPorts'] if file.exists() else []
        return [opening['port'] for opening in openings if opening['name'] == OPENING]

    def services(self):
        """The states of the services by their names."""
        told = subprocess.run([self._tool, 'services', self.folder], capture_output=True,
                              text=True, check=True)
        return dict(line.split()[:2] for line in told.stdout.splitlines() if line.strip())

    def processes(self):
        """The processes that run on the machine: their names by their ids."""
        mark = f'HALVARD_LAB={self.folder}'.encode()
        found = {}
        for number in filter(str.isdigit, os.listdir('/proc')):
            with contextlib.suppress(OSError):
                if mark in content(f'/proc/{number}/environ').split(b'\0'):
                    found[int(number)] = content(f'/proc/{number}/comm').decode().strip()
        return found

    def remove(self):
        """Nothing of it is left but its folder."""
        self.end_processes()

    def end_processes(self):
        for number in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(number, signal.SIGKILL)
