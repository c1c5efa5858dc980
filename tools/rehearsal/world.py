"""The machine that is migrated, and all that it meets: its server, its directory, the appliance."""

import json
import secrets
from pathlib import Path

from lab_machine import LabMachine, merge
from messages import LANGUAGES, Messages
from processes import StandIn, taken_ports

ADMINISTRATOR = 'Administrator@ostrel.local'
APPLIANCE = 'appliance.corp.example'
APPLIANCE_ADDRESS = '192.0.2.20'
CONTROLLER = 'sso.corp.example'
DEFAULT_PORT = 9123
# Nobody listens there: the service that this port belongs to is long out of use.
NOWHERE = '127.0.0.1:1'
QUESTION = {'id': 'keep-history', 'text': 'Export the history of events and tasks too?',
            'choices': ['yes', 'no'], 'default': 'yes', 'expected': 'yes'}
WARNING = {'text': 'The server\'s certificate is renewed in 30 days.', 'severity': 'WARNING',
           'resolution': 'Renew it before or after the migration.'}


class Settings:
    """What a person asked for, and what a planned fault makes of it."""

    def __init__(self, options):
        self.type = options.type
        self.source = options.source
        self.locale = options.locale
        self.export_bytes = options.export_size
        self.patch = {}                # over the machine's description
        self.inventory = {'hosts': 40, 'machines': 400}
        self.controller_version = '6.0.1'
        self.sshd = []                 # arguments of the appliance
        self.appliance_is_away = False
        self.controller_is_away = False

    @property
    def machine(self):
        return f'{self.type}-{self.source}'


class World:
    """Started step by step; ended as a whole, whatever has been started."""

    def __init__(self, settings, programs, folder, scratch, narrator):
        self.settings = settings
        self.programs = programs
        self.narrator = narrator
        self.scratch = Path(scratch)
        self.password = secrets.token_hex(12)
        self.ssh_password = secrets.token_hex(12)
        self.messages = Messages(settings.locale)
        self.english = Messages('en')
        self.machine = self._make_machine(folder)
        self.server = None
        self.directory = None
        self.appliance = None
        self.lost_openings = []  # ports that an agent which was killed has left open
        self._standins = []

    def _make_machine(self, folder):
        return LabMachine(self.programs, self.settings.machine, folder)

    def end(self):
        self.machine.end_processes()
        while self._standins:
            self._standins.pop().end()

    def _start(self, program, arguments):
        standin = StandIn(self.programs / program, arguments)
        self._standins.append(standin)
        return standin

    def start_server(self):
        """The Kelvane Server of the machine, and the lookup service of its controller."""
        config = self.scratch / 'kelvane-server.json'
        config.touch(mode=0o600)
        config.write_text(json.dumps({
            'users': [{'name': ADMINISTRATOR, 'password': self.password}],
            'inventory': self.settings.inventory,
            'lookup': {'registrations': [{
                'product': 'com.ostrel.rimsa', 'type': 'cs.identity',
                'endpoints': [{'url': f'https://{CONTROLLER}:443/sso-adminserver/sdk',
                               'protocol': 'wsTrust',
                               'type': 'com.ostrel.rimsa.cs.identity.sso'}]}]},
        }), encoding='utf-8')
        self.server = self._start('kelvane-server', ['--config', str(config), '--record',
                                                     str(self.journal)])
        port = self.server.facts['port']
        if self.settings.source == 'platform':
            place = 'ProgramData/Ostrel/KelvaneServer/cfg/install-defaults/rhttpproxy.ext.port2'
            (self.machine.drive / place).write_text(f'{port}\n', encoding='utf-8')
        else:
            self.machine.add_to_registry(
                r'HKEY_LOCAL_MACHINE\SOFTWARE\Ostrel, Inc.\Ostrel Kelvane', 'HttpsProxyPort', port)
        return f'port {port}, {self.settings.inventory["hosts"]} hosts'

    @property
    def journal(self):
        return self.scratch / 'kelvane-server.journal'

    def start_directory(self):
        """The directory of Single Sign-On: the machine's own, or that of its remote controller."""
        version = self.settings.controller_version
        if self.settings.machine == 'infrastructure-5.5':
            version = None
        arguments = ['--password', self.password]
        if version:
            arguments += ['--belvar-version', version]
        self.directory = self._start('lab-slapd', arguments)
        return f'port {self.directory.facts["port"]}'

    def start_appliance(self):
        self.appliance = self._start('lab-sshd', ['--password', self.ssh_password,
                                                  *self.settings.sshd])
        return f'port {self.appliance.facts["port"]}'

    def describe_machine(self):
        patch = {
            'computer': {'uiLanguage': LANGUAGES[self.settings.locale]},
            # The agent takes a port that the host has free as well.
            'ports': {'host': True, 'tcp': {f'0.0.0.0:{port}': 'listening'
                                            for port in taken_ports(DEFAULT_PORT)}},
            'dns': {'names': {APPLIANCE: [{'type': 'A', 'value': APPLIANCE_ADDRESS}]}},
            'addressMap': self._addresses(),
            'upgradeRunner': {
                'requirements': {'findings': [WARNING], 'components': self._components()},
                'export': {'bytes': self.settings.export_bytes, 'questions': [QUESTION]}},
        }
        self.machine.describe(merge(patch, self.settings.patch))
        self.machine.validate()

    def _addresses(self):
        addresses = {f'{APPLIANCE_ADDRESS}:22': NOWHERE if self.settings.appliance_is_away
                     else self.appliance.facts['address']}
        if self.settings.type == 'management':
            # An older controller would be asked at the second port.
            addresses[f'{CONTROLLER}:636'] = (NOWHERE if self.settings.controller_is_away
                                              else self.directory.facts['address'])
            addresses[f'{CONTROLLER}:11712'] = NOWHERE
        elif self.settings.type == 'infrastructure':
            port = 11712 if self.settings.source == '5.5' else 636
            addresses[f'localhost:{port}'] = self.directory.facts['address']
        return addresses

    def _components(self):
        """What the runner says of a controller on another machine."""
        if self.settings.type != 'management':
            return {}
        # The address map knows the connections of the directory, not those of the lookup service.
        url = f'https://127.0.0.1:{self.server.facts["port"]}/sts/STSService/ostrel.local'
        return {'com.ostrel.kelvd': {'requirements': {'extraArguments': {
            'kelvd.sso.host': CONTROLLER, 'kelvd.sso.sts.url': url}}}}

    def arrived(self, name):
        """Where the host sees a file that was copied to the appliance."""
        facts = self.appliance.facts
        return Path(facts['root'] + facts['folder'] + '/' + name)
