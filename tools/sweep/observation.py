"""All that can be seen of a run once it is over."""

import io
import json
import re
import zipfile
from collections import Counter
from dataclasses import dataclass, field

# pylint: disable=import-error
from agent_run import Hang, wait_until
from lab_machine import LabMachine

SETTLE_SECONDS = 10
END_SECONDS = 60
# The lab's own, and the machine's description: it knows the passwords of accounts as a domain
# controller does.
OF_THE_LAB = ('run/', 'machine.json')
WIDTHS = (1, 2, 4)
# Codes are smaller, ports that the system gives out and times are not.
CHANCE_BEGINS = 20_000
TEMPORARY_NAME = re.compile(r'mig[0-9A-Fa-f]+\.tmp')


@dataclass
class Observation:
    exit_code: int = None        # negative for an end by a signal; None for none in time
    hang: str = ''
    log: Counter = field(default_factory=Counter)      # of (level, text), numbers left out
    console: Counter = field(default_factory=Counter)  # of lines, numbers left out
    errors: str = ''             # on standard error, where the agent writes nothing
    status: dict = None
    replies: list = field(default_factory=list)        # (operation, what became of it)
    files: set = field(default_factory=set)
    processes: list = field(default_factory=list)
    census: dict = None
    secrets: list = field(default_factory=list)        # where there are any


def name_of(path):
    """So that times, ids and names that the system makes up are alike in all runs."""
    return re.sub(r'\d+', 'N', TEMPORARY_NAME.sub('migN.tmp', path))


def without_chance(text):
    """The same for a line that tells an error: its code stays."""
    text = re.sub(r'\b([0-9A-F]{2}:){19}[0-9A-F]{2}\b', 'THUMBPRINT', text)
    text = TEMPORARY_NAME.sub('migN.tmp', text)
    return re.sub(r'\d+', lambda match: match[0] if int(match[0]) < CHANCE_BEGINS else 'N', text)


def lines_of_log(text):
    lines = Counter()
    for line in text.splitlines():
        match = re.search(r'(?:^|\| )([IWED]): (.*)$', line)
        level, message = (match[1], match[2]) if match else ('', line)
        lines[level, without_chance(message)] += 1
    return lines


def lines_of_console(text):
    return Counter(without_chance(line) for line in text.splitlines() if line.strip())


def what_became_of(reply):
    """One line, the same for replies that tell the same."""
    if isinstance(reply, Exception):
        return f'NO ANSWER: {type(reply).__name__}'
    if not isinstance(reply, dict):
        return json.dumps(reply)
    if 'result' in reply:
        return f'{reply["result"]} {without_chance(reply.get("error") or "")}'.strip()
    return f'status {reply.get("status")}'


def replies_of(session):
    """Polls that tell the same one after the other are one."""
    told = [(operation, what_became_of(reply)) for operation, reply in session.replies]
    return [entry for number, entry in enumerate(told) if number == 0 or told[number - 1] != entry]


def files_of(machine):
    found = set()
    for path in machine.folder.rglob('*'):
        name = str(path.relative_to(machine.folder))
        if not name.startswith(OF_THE_LAB[0]):
            found.add(name_of(name))
    return found


def census_of(machine):
    file = next((machine.folder / 'run').glob('census-*.json'), None)
    return json.loads(file.read_text(encoding='utf-8')) if file else None


def remaining_processes(machine):
    """What has been ended is gone a moment later."""
    try:
        wait_until(lambda: not machine.processes(), SETTLE_SECONDS, 'the processes')
    except Hang:
        return sorted(machine.processes().values())
    return []


def spellings(secret):
    """The text with so many bytes for a character."""
    return [b''.join(bytes([byte]) + bytes(width - 1) for byte in secret.encode())
            for width in WIDTHS]


def texts_of(path):
    data = path.read_bytes()
    yield str(path), data
    if zipfile.is_zipfile(path):
        try:
            with zipfile.ZipFile(io.BytesIO(data)) as archive:
                for name in archive.namelist():
                    yield f'{path}/{name}', archive.read(name)
        except (zipfile.BadZipFile, EOFError, OSError):
            return  # one that was cut short


def places_of_secrets(machine, since, secrets, outputs):
    """Files that were written since then, and what was shown, as far as they hold a secret."""
    wanted = [spelling for secret in secrets for spelling in spellings(secret)]
    found = [f'what was {name}' for name, text in outputs.items()
             if any(secret in text for secret in secrets)]
    for path in machine.folder.rglob('*'):
        name = str(path.relative_to(machine.folder))
        if name.startswith(OF_THE_LAB) or path.is_symlink() or not path.is_file():
            continue
        if path.stat().st_mtime >= since:
            found += [place for place, data in texts_of(path)
                      if any(spelling in data for spelling in wanted)]
    return found


def end_of(session, observation):
    try:
        observation.exit_code = session.agent.wait(END_SECONDS)
    except Hang as hang:
        observation.hang = str(hang)


def observe(world, session, since, secrets):
    """Waits for the end of the agent, and looks around."""
    seen = Observation(hang=session.hang)
    if not seen.hang:
        end_of(session, seen)
    machine: LabMachine = world.machine
    if seen.hang:
        session.agent.close()
    seen.processes = remaining_processes(machine)
    log, console = machine.log(), session.agent.console
    seen.log, seen.console = lines_of_log(log), lines_of_console(console)
    seen.errors = session.agent.errors
    seen.status = machine.status()
    seen.replies = replies_of(session)
    seen.files = files_of(machine)
    seen.census = census_of(machine)
    seen.secrets = places_of_secrets(machine, since, secrets,
                                     {'shown': console, 'said of errors': seen.errors})
    return seen
