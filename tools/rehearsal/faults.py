"""What can go wrong, and how it has to end."""

from dataclasses import dataclass
from typing import Callable, Optional

from world import QUESTION

ALL = ('embedded', 'management', 'infrastructure')
WITH_SERVER = ('embedded', 'management')
ERROR, RESOLUTION = 1133, 1054


@dataclass
class Fault:
    """A fault of the start: the agent ends with -1."""
    name: str
    summary: str
    prepare: Callable = lambda world: None  # settings, before anything is started
    spoil: Callable = lambda world: None    # the machine, once it is described
    types: tuple = ALL
    agent_password: Optional[str] = None
    error: Optional[Callable] = None        # of the status file; None: there is no such file
    console: Callable = lambda world: []    # texts that the operator has to see


@dataclass
class LateFault:
    """A fault of the migration: the client ends with an exit code of its own, and what the agent has
    done is told."""
    name: str
    summary: str
    exit_code: int
    text: Callable                           # what the client has to show
    prepare: Callable = lambda world: None
    types: tuple = ALL
    thumbprint: Optional[str] = None         # in place of the appliance's
    ssh_password: Optional[str] = None
    answers: bool = True                     # whether the installer has the answer to the question
    agent_ends: bool = False                 # by itself
    services: str = 'stopped'                # what the product's services are afterwards
    goes_on: str = ''                        # what the same command says when it is put right
    log: str = ''                            # a piece of a line of the agent's log


@dataclass
class Incident:
    """Something that happens to an agent that is well; the migration has to come to its good end all
    the same. fault_rehearsal.py knows how it is played."""
    name: str
    summary: str
    types: tuple = ALL


def set_patch(**patch):
    def prepare(world):
        world.settings.patch = patch
    return prepare


def set_setting(name, value):
    return lambda world: setattr(world.settings, name, value)


def fault_of(function, error, **more):
    return set_patch(faults=[{'function': function, 'error': error, **more}])


def texts(*numbers):
    """The messages of a line, one behind the other, in the operator's language."""
    return lambda world: [''.join(world.messages.text(number) for number in numbers)]


def english(number, *arguments):
    return lambda world: world.english.text(number, *arguments)


def always(text):
    return lambda world: text


def error_of_credentials(world):
    product = ('Single Sign-On' if world.settings.type == 'infrastructure' else 'Kelvane Server')
    return (f'The entered Ostrel {product} Administrator credentials are not valid. Please check '
            f'that Ostrel {product} services are up and running, and that the entered credentials '
            'are valid.')


def console_of_credentials(world):
    alone = world.settings.type == 'infrastructure'
    return [world.messages.text(ERROR) + world.messages.text(1098 if alone else 1097),
            world.messages.text(RESOLUTION) + world.messages.text(1050 if alone else 1058)]


def damage_package(world):
    (world.machine.drive / 'Halvard' / 'rimsa-upgrade-runner.msi').write_bytes(b'no package')


def fill_disk(world):
    component = 'com.ostrel.sso' if world.settings.type == 'infrastructure' else 'com.ostrel.keldb'
    requirements = {'requirements': {'coreRequirement': {'requiredSrcDiskSpace': 100}}}
    world.settings.patch = {
        'disks': {'C': {'free': 500 << 20}},
        'upgradeRunner': {'requirements': {'components': {component: requirements}}}}


def remove_gateway(world):
    adapters = world.machine.description()['adapters']
    del adapters[0]['gateways']
    world.machine.describe({'adapters': adapters})


def address_of(world):
    return world.machine.description()['adapters'][0]['addresses'][1]['address']


FINDING = {'text': 'The server is too old.', 'resolution': 'Update it.'}
BEHIND_THE_EXPORT = 'The export has been made already.'
NO_CONTROLLER = 'Failed to retrieve the version info from remote Belvar Controller.'

FAULTS = [
    Fault('wrong-password', 'the agent is started with a wrong password',
          agent_password='wrong', error=error_of_credentials, console=console_of_credentials),
    Fault('no-administrator', 'the agent is started without an administrator\'s rights',
          prepare=set_patch(user={'elevated': False}), console=texts(1151)),
    Fault('damaged-package', 'the package of the upgrade runner is damaged',
          spoil=damage_package, error=always('Failed to extract Halvard scripts.')),
    Fault('large-inventory', 'the server has more hosts than any appliance takes',
          prepare=set_setting('inventory', {'hosts': 1001, 'machines': 5}), types=WITH_SERVER,
          error=english(1060), console=texts(1060)),
    Fault('precheck-errors', 'the prechecks find an error',
          prepare=set_patch(upgradeRunner={'requirements': {'findings': [FINDING]}}),
          error=always('Pre-migration checks failed.'),
          console=lambda world: [world.messages.text(1052),
                                 world.messages.text(ERROR) + FINDING['text'],
                                 world.messages.text(RESOLUTION) + FINDING['resolution']]),
    Fault('silent-runner', 'the upgrade runner ends without a word',
          prepare=set_patch(upgradeRunner={'requirements': {'output': 'none', 'exitCode': 1}}),
          error=always('Failed to run Pre-Migration checks.'), console=texts(1091)),
    Fault('no-room', 'the disk has no room for the export',
          prepare=fill_disk, error=english(1008), console=texts(1008)),
    Fault('no-gateway', 'the network has no gateway', spoil=remove_gateway,
          error=lambda world: world.english.text(1217, address_of(world)),
          console=lambda world: [
              world.messages.text(ERROR) + world.messages.text(1217, address_of(world)),
              world.messages.text(RESOLUTION) + world.messages.text(1218)]),
    Fault('newer-controller', 'the remote Belvar Controller is newer than the appliance',
          prepare=set_setting('controller_version', '6.5.1'), types=('management',),
          error=english(1040, 'sso.corp.example', '6.5', '6.5'),
          console=lambda world: [world.messages.text(1040, 'sso.corp.example', '6.5', '6.5')]),
    Fault('no-controller', 'the remote Belvar Controller doesn\'t answer',
          prepare=set_setting('controller_is_away', True), types=('management',),
          error=always(NO_CONTROLLER), console=texts(1041)),
    LateFault('failed-export', 'the export fails', 7,
              always('The export has failed.\nResolution: Look into the log of the upgrade runner.'),
              prepare=set_patch(upgradeRunner={'export': {'status': 'error'}}),
              services='running'),
    LateFault('no-answer', 'nobody answers the export\'s question', 9,
              always(f'The export waits for an answer: {QUESTION["text"]}'), answers=False,
              services='running', goes_on='Export, which runs already'),
    LateFault('failed-zip', 'the system can\'t make zip files', 8,
              lambda world: world.messages.text(1073),
              prepare=fault_of('IShellDispatch_NameSpace', 1, match='export.zip')),
    LateFault('no-appliance', 'the appliance doesn\'t answer', 8,
              lambda world: world.messages.text(1074),
              prepare=set_setting('appliance_is_away', True),
              log='ScpFile: Failed to connect to remote host'),
    LateFault('wrong-thumbprint', 'the appliance has another key than the installer says', 8,
              lambda world: world.messages.text(1074), thumbprint=':'.join(['00'] * 20),
              goes_on=BEHIND_THE_EXPORT, log='did not match the expected fingerprint'),
    LateFault('wrong-ssh-password', 'the appliance doesn\'t take the password', 8,
              lambda world: world.messages.text(1074), ssh_password='wrong', goes_on=BEHIND_THE_EXPORT,
              log='ScpFile: Failed to authenticate against remote host'),
    LateFault('full-appliance', 'the appliance has no room for the export', 8,
              # The protocol lets the agent believe that all went well.
              always('export.zip hasn\'t arrived: it stops early'),
              prepare=set_setting('sshd', ['--disk-size', '64k'])),
    LateFault('broken-line', 'the line to the appliance breaks during the copy', 8,
              lambda world: world.messages.text(1074),
              prepare=set_setting('sshd', ['--close-after', '100000'])),
    LateFault('no-shutdown', 'the system refuses to shut down', 1,
              always('Failed to shutdown the remote Kelvane Server Windows machine.'),
              prepare=fault_of('InitiateShutdownW', 5), agent_ends=True),
    Incident('second-instance', 'the agent is started a second time while it serves'),
    Incident('killed-agent', 'the agent is killed while it serves, and started again'),
]


def named(name):
    return next((fault for fault in FAULTS if fault.name == name), None)


def listing():
    width = max(len(fault.name) for fault in FAULTS)
    lines = []
    for fault in FAULTS:
        only = '' if fault.types == ALL else f' ({" and ".join(fault.types)} alone)'
        lines.append(f'  {fault.name:<{width}}  {fault.summary}{only}')
    return '\n'.join(lines)
