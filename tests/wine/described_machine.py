"""A machine of the lab as a machine of Wine: the same description, registry, products, services and files,
in a copy of the pristine prefix."""

import contextlib
import json
import os
import re
import shutil
import signal
from pathlib import Path

import wine_machine
from lab_machine import AgentFiles, files_below, merge
from wine_machine import BUILD, Machine, packed_code

SERVICE_PROGRAM = BUILD / 'tests' / 'product_service.exe'
INSTALLER = r'SOFTWARE\Microsoft\Windows\CurrentVersion\Installer'
SERVICES = r'System\CurrentControlSet\Services'
ENVIRONMENT = r'System\CurrentControlSet\Control\Session Manager\Environment'
TCPIP = r'System\CurrentControlSet\Services\Tcpip\Parameters'
# Of Wine itself; on a machine of Windows there are processes of the system as well.
PROCESSES_OF_WINE = {'wineserver64', 'services.exe', 'plugplay.exe', 'winedevice.exe', 'svchost.exe',
                     'explorer.exe', 'rpcss.exe', 'conhost.exe', 'start.exe', 'wineboot.exe'}


def quoted(text):
    """A text as it stands in a file of the registry."""
    escaped = ''.join(c if ' ' <= c <= '~' else f'\\x{ord(c):04x}' for c in
                      text.replace('\\', '\\\\').replace('"', '\\"'))
    return f'"{escaped}"'


def section(key, values):
    """A key of the local machine in the form of Wine's own files. Values are texts or numbers."""
    lines = [f'\n[{quoted(key)[1:-1]}]']
    for name, value in values.items():
        data = f'dword:{value:08x}' if isinstance(value, int) else quoted(value)
        lines.append(f'{quoted(name)}={data}')
    return '\n'.join(lines) + '\n'


class DescribedMachine(AgentFiles):
    """What tools/rehearsal asks of a machine. `lab` is the started one that it is made after."""

    firewall_is_on = False

    def __init__(self, name, lab):
        self._machine = Machine(name)
        self._lab = lab
        self.folder = self._machine.prefix
        self.drive = self.folder / 'drive_c'
        self._profile = next(path for path in (self.drive / 'users').iterdir()
                             if path.name != 'Public')
        self._agent_folder = self._profile / 'AppData/Local/Ostrel/Halvard'
        (self.folder / 'run').mkdir()
        self._registry = ''
        self._describe_registry()
        self._lay_files()
        self._agent = self._machine.install_agent(wine_machine.WHOLE_AGENT)
        self.describe({})

    # The description.

    def description(self):
        return self._lab.description()

    def describe(self, patch):
        """Lays a merge patch over the description, which the upgrade runner plays by."""
        self._lab.describe(patch)
        (self.folder / 'machine.json').write_text(
            json.dumps(merge(self.description(), patch), ensure_ascii=False), encoding='utf-8')

    def validate(self):
        self._lab.validate()

    def add_to_registry(self, key, name, text):
        hive, _, rest = key.partition('\\')
        assert hive == 'HKEY_LOCAL_MACHINE'
        self._registry += section(rest, {name: str(text)})

    def _describe_registry(self):
        description = self.description()
        exported = (self._lab.folder / 'registry.reg').read_text(encoding='utf-8')
        for key, values in re.findall(r'^\[HKEY_LOCAL_MACHINE\\(.*)\]\n((?:".*\n)*)', exported,
                                      re.MULTILINE):
            self._registry += f'\n[{quoted(key)[1:-1]}]\n{values}'
        for product, described in description['products'].items():
            self._describe_product(product, described)
        for name, described in description['services'].items():
            if name.lower().startswith(('ost', 'kel')):
                self._describe_service(name, described)
        variables = description['environment']['system']
        self._registry += section(ENVIRONMENT, {name: value for name, value in variables.items()
                                                if name.startswith('OSTREL')})
        self._registry += section(TCPIP, {'Domain': description['computer']['fullName'].partition('.')[2]})

    def _describe_product(self, code, described):
        packed = packed_code(code)
        properties = described['properties']
        self._registry += section(f'{INSTALLER}\\UpgradeCodes\\{packed_code(described["upgradeCode"])}',
                                  {packed: ''})
        self._registry += section(
            f'{INSTALLER}\\UserData\\S-1-5-18\\Products\\{packed}\\InstallProperties',
            {'DisplayVersion': properties['VersionString'], 'WindowsInstaller': '1',
             'DisplayName': properties['ProductName'], 'Publisher': properties['Publisher']})
        self._registry += section(f'SOFTWARE\\Classes\\Installer\\Products\\{packed}',
                                  {'ProductName': properties['ProductName']})

    def _describe_service(self, name, described):
        program = re.match(r'"([^"]*)"', described['program'])[1]
        place = self._place(program)
        place.parent.mkdir(parents=True, exist_ok=True)
        if not place.exists():
            os.link(SERVICE_PROGRAM, place)
        self._registry += section(f'{SERVICES}\\{name}', {
            'DisplayName': described['displayName'], 'ImagePath': described['program'],
            'ObjectName': described.get('account', 'LocalSystem'), 'Type': 0x10, 'Start': 2,
            'ErrorControl': 1})

    # The files.

    def _place(self, path):
        return self.drive.joinpath(*path.split('\\')[1:])

    def _lay_files(self):
        for folder in ('Program Files', 'ProgramData'):
            shutil.copytree(self._lab.folder / 'drive_c' / folder, self.drive / folder,
                            dirs_exist_ok=True)

    def boot(self):
        """Starts the system with its services. The registry is Wine's from here on."""
        with open(self.folder / 'system.reg', 'a', encoding='ascii') as file:
            file.write(self._registry)
        self._machine.run('cmd', '/c', 'exit')

    def agent_command(self, *arguments):
        return wine_machine.run_under_wine(self.folder, self._agent, *arguments)

    @property
    def agent_environment(self):
        return wine_machine.environment({})

    # What there is to see.

    @property
    def temp_folder(self):
        return self._profile / 'Temp'

    @property
    def export_folder(self):
        return self._agent_folder / 'export'

    @property
    def export_zip(self):
        return self._agent_folder / 'export.zip'

    @property
    def extraction_folder(self):
        return self._agent_folder / 'PythonURExtractDir'

    def log(self):
        file = self.find('halvard.log')
        return file.read_bytes().decode('utf-8') if file else ''

    def shutdown(self):
        """How the machine was told to shut down; None if it wasn't."""
        file = self.drive / 'shutdown.json'
        return json.loads(file.read_text(encoding='utf-8')) if file.exists() else None

    def agents_openings(self):
        return []

    def services(self):
        """The states of the services by their names."""
        told = self._machine.run(SERVICE_PROGRAM, 'states').console
        return dict(line.split()[:2] for line in told.splitlines() if line.strip())

    def files(self):
        """What is on the machine and not on each machine of Wine."""
        return (path for path in files_below(self.folder) if path.stat().st_nlink == 1)

    def processes(self):
        """The processes that run on the machine, beside those of the system: their names by ids."""
        services = {Path(re.match(r'"([^"]*)"', described['program'])[1].replace('\\', '/')).name[:15]
                    for described in self.description()['services'].values()
                    if described['program'].startswith('"')}
        mark = f'WINEPREFIX={self.folder}'.encode()
        found = {}
        for folder in Path('/proc').iterdir():
            with contextlib.suppress(OSError):
                if not folder.name.isdigit() or mark not in (
                        folder / 'environ').read_bytes().split(b'\0'):
                    continue
                name = (folder / 'comm').read_text(encoding='utf-8').strip()
                if name not in PROCESSES_OF_WINE | services:
                    found[int(folder.name)] = name
        return found

    def end_processes(self):
        for number in self.processes():
            with contextlib.suppress(ProcessLookupError):
                os.kill(number, signal.SIGKILL)

    def remove(self):
        self._machine.remove()
