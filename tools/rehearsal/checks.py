"""What has to be true behind a migration, or behind one that failed."""

import hashlib
import itertools
import json
import subprocess
import sys
import time
import zipfile
from pathlib import Path

from lab_machine import files_below
from narrator import StepFailed

HV_UTIL = Path(__file__).resolve().parents[1] / 'hv_util.py'
PIECE_BYTES = 1 << 20
SHUTDOWN_MESSAGE = 1095
SERVICES_PATIENCE_SECONDS = 60
# An export's data can't hold a password; reading gigabytes of it would only take long.
UNSEARCHED = ('.bin', 'export.zip')


def expect(condition, text):
    if not condition:
        raise StepFailed(text)


def expect_equal(found, expected, what):
    expect(found == expected, f'{what}: expected {expected!r}, found {found!r}')


def digest_of(stream):
    digest = hashlib.sha256()
    while piece := stream.read(PIECE_BYTES):
        digest.update(piece)
    return digest.hexdigest()


def status_of_a_good_start(world, status):
    """`status` is what it said before; None when there has to be no such file."""
    if status is None:
        expect_equal(world.machine.status(), None, 'status file')
        return 'none'
    expect_equal(world.machine.status(), {'error': None, 'initialization': 'success',
                                          'port': status['port'],
                                          'thumbprint': status['thumbprint']}, 'status file')
    return f'success, port {status["port"]}'


def firewall_is_open(world, status):
    if not world.machine.firewall_is_on:
        return 'off'
    openings = world.machine.agents_openings()
    expect_equal(openings, [*world.lost_openings, int(status['port'])], 'openings in the firewall')
    return f'port {status["port"]}'


def agent_ended(agent, exit_code):
    expect_equal(agent.wait(30), exit_code & 0xFF, 'exit code')
    return f'exit code {exit_code}'


def machine_shuts_down(world):
    document = world.machine.shutdown()
    expect(document is not None, 'the machine was not told to shut down')
    expect_equal(document['message'], world.messages.text(SHUTDOWN_MESSAGE), 'message')
    return f'in {document["gracePeriod"]} s, "{document["message"][:40]}..."'


def machine_stays_up(world):
    expect(world.machine.shutdown() is None, 'the machine was told to shut down')
    return 'not told to shut down'


def hv_util(*arguments):
    tool = subprocess.run([sys.executable, HV_UTIL, *arguments], capture_output=True, text=True,
                          check=False)
    document = json.loads(tool.stdout)
    expect_equal(document['status'], 'success', document.get('message', ''))
    return document['message']


def export_arrived(world):
    """Byte by byte what was made, and in it file by file what was exported."""
    arrived = world.arrived('export.zip')
    expect(arrived.exists(), 'export.zip is not on the appliance')
    with open(arrived, 'rb') as there, open(world.machine.export_zip, 'rb') as here:
        expect_equal(digest_of(there), digest_of(here), 'SHA-256 of export.zip')
    hv_util('--test', str(arrived))
    compared = hv_util('--compare', str(arrived), str(world.machine.export_folder))
    count = files_of_the_manifest(arrived)
    return f'{compared} {count} files as listed, {arrived.stat().st_size / (1 << 20):.1f} MiB'


def files_of_the_manifest(path):
    """Every file that the export lists is in the zip, whole. Returns how many."""
    with zipfile.ZipFile(path) as archive:
        files = json.loads(archive.read('export/manifest.json'))['files']
        for file in files:
            with archive.open('export/' + file['path']) as stream:
                expect_equal(digest_of(stream), file['sha256'], f'SHA-256 of {file["path"]}')
        listed = {'export/manifest.json', *('export/' + file['path'] for file in files)}
        packed = {name for name in archive.namelist() if not name.endswith('/')}
        expect_equal(packed, listed, 'files of export.zip')
    return len(files)


def logs_arrived(world):
    arrived = world.arrived('logs.zip')
    expect(arrived.exists(), 'logs.zip is not on the appliance')
    with zipfile.ZipFile(arrived) as archive:
        expect(archive.testzip() is None, 'logs.zip is damaged')
        names = set(archive.namelist())
    expect({'halvard.log', 'UpgradeRunner.log'} <= names, f'logs.zip holds only {sorted(names)}')
    return ', '.join(sorted(names))


def nothing_left_behind(world):
    """Whatever an agent makes for the time of its run is gone."""
    machine = world.machine
    expect(not machine.extraction_folder.exists(), f'{machine.extraction_folder} is still there')
    for name in ('UpgradeRunnerInput.json', 'UpgradeRunnerPreupgradeOutput.json'):
        expect(machine.find(name) is None, f'{name} is still there')
    links = [entry.name for entry in machine.drive.iterdir() if entry.is_symlink()]
    expect(not links, f'links are still there: {links}')
    expect_equal(machine.agents_openings(), world.lost_openings, 'openings in the firewall')
    deadline = time.monotonic() + 10
    while (running := machine.processes()) and time.monotonic() < deadline:
        time.sleep(0.1)
    expect(not running, f'processes still run: {sorted(running.values())}')
    return 'no folder, input file, link, opening or process'


def searched_files(world):
    for path in itertools.chain(world.machine.files(), files_below(world.scratch)):
        if not path.name.endswith(UNSEARCHED):
            yield path


def no_password_anywhere(world, *outputs):
    """In no file of the machine, in no log that left it, in nothing that was shown."""
    own = {world.scratch / 'kelvane-server.json'}
    secrets = [world.password.encode(), world.ssh_password.encode()]
    places = [(str(path), path.read_bytes()) for path in searched_files(world) if path not in own]
    logs = world.arrived('logs.zip') if world.appliance else None
    if logs and zipfile.is_zipfile(logs):
        with zipfile.ZipFile(logs) as archive:
            places += [(f'logs.zip/{name}', archive.read(name)) for name in archive.namelist()]
    places += [('what was shown', text.encode()) for text in outputs if text]
    for place, data in places:
        expect(not any(secret in data for secret in secrets), f'{place} holds a password')
    return f'{len(places)} places'


def product_services(world):
    """States of the product's services by their names."""
    return {name: state for name, state in world.machine.services().items()
            if name.startswith('Ost') or name.startswith('kel')}


def services_are(world, expected):
    deadline = time.monotonic() + SERVICES_PATIENCE_SECONDS
    while True:
        states = product_services(world)
        if states and set(states.values()) == {expected}:
            return f'{len(states)} services {expected}'
        expect(time.monotonic() < deadline, f'services: expected {expected}, found {states}')
        time.sleep(0.2)


def sessions_are_closed(world):
    """Of the server, which has ended by now: how many logins nobody has ended."""
    events = [json.loads(line) for line in world.journal.read_text(encoding='utf-8').splitlines()]
    stop = next(event for event in events if event['event'] == 'stop')
    expect_equal(stop['openSessions'], 0, 'sessions of the Kelvane Server that stay open')
    refused = [event['text'] for event in events if event.get('outcome') == 'refused']
    expect(not refused, f'the Kelvane Server refused: {refused}')
    return f'{sum(event["event"] == "request" for event in events)} requests, no session left'
