"""The installer of the new appliance: hvctl, which drives the agent from its side."""

import socket
import threading

from narrator import StepFailed
from processes import Run
from world import ADMINISTRATOR, APPLIANCE, QUESTION

WATCH_SECONDS = 5


class CopyWatch:
    """Tells every few seconds how far a zip file and its copy are, as long as they grow. Nothing
    else does: the agent answers when all is done."""

    def __init__(self, world):
        self._world = world
        self._end = threading.Event()
        self._thread = threading.Thread(target=self._watch)

    def __enter__(self):
        self._thread.start()

    def __exit__(self, *_exception):
        self._end.set()
        self._thread.join()

    def _watch(self):
        told = None
        while not self._end.wait(WATCH_SECONDS):
            sizes = (size_of(self._world.machine.export_zip),
                     size_of(self._world.arrived('export.zip')))
            if sizes != told and any(sizes):
                told = sizes
                self._world.narrator.line(f'        export.zip: {in_mebibytes(sizes[0])} made, '
                                          f'{in_mebibytes(sizes[1])} arrived')


def size_of(path):
    try:
        return path.stat().st_size
    except OSError:
        return 0


def in_mebibytes(count):
    return f'{count / (1 << 20):.1f} MiB'


def environment_of(world, ssh_password):
    return {'HVCTL_PASSWORD': world.password, 'HVCTL_SSH_PASSWORD': ssh_password,
            'HVCTL_KNOWN_AGENTS': str(world.scratch / 'known_agents'), 'LANG': 'C.UTF-8'}


def host_of(status):
    """The loopback address of the family that the agent listens on, which follows its adapter."""
    for host in ('127.0.0.1', '::1'):
        try:
            socket.create_connection((host, int(status['port']))).close()
            return host
        except OSError:
            pass
    raise StepFailed(f'nobody listens on port {status["port"]}')


def ask(world, status, command, *arguments):
    """One command of the client. Returns its exit code and output."""
    run = Run([str(world.programs / 'hvctl'), command, '--host', host_of(status), '--port',
               status['port'], '--thumbprint', status['thumbprint'], '--user', ADMINISTRATOR,
               '--locale', world.settings.locale, *arguments],
              environment_of(world, world.ssh_password), world.narrator, '  hvctl | ')
    return run.wait(), run.output


def start_migration(world, status, thumbprint=None, ssh_password=None, answers=True, again=False):
    """A client that drives a whole migration, as a Run; `again` for an export from the start."""
    facts = world.appliance.facts
    choices = ['--answer', f'{QUESTION["id"]}=yes'] if answers else []
    if again:
        choices.append('--again')
    return Run([str(world.programs / 'hvctl'), 'migrate', '--host', host_of(status), '--port',
                status['port'], '--thumbprint', status['thumbprint'], '--user', ADMINISTRATOR,
                '--locale', world.settings.locale, '--ssh-server', APPLIANCE, '--ssh-folder',
                facts['folder'], '--ssh-user', facts['user'], '--ssh-thumbprint',
                thumbprint or facts['thumbprints']['rsa'], *choices,
                '--arrived-at', facts['root'] + facts['folder'], '--shutdown'],
               environment_of(world, ssh_password or world.ssh_password), world.narrator,
               '  hvctl | ')


def migrate(world, *arguments):
    """A whole migration, as start_migration() has it. Returns the client's exit code and output."""
    run = start_migration(world, *arguments)
    try:
        with CopyWatch(world):
            return run.wait(), run.output
    finally:
        run.kill()
