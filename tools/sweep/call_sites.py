"""Where the agent calls which functions, as its census tells it."""

import re
import subprocess
from dataclasses import dataclass

# Frames of these say nothing of where a call comes from: owners that release what they hold.
WRAPPERS = ('src/host/unique_resource.h',)
# What each line of the log and of the console comes through. Who wrote the line makes no difference.
LAST_FRAMES = ('src/core/log_file.cpp', 'src/core/logging.cpp', 'src/core/console.cpp',
               'src/core/messages.cpp', 'src/core/text.cpp', 'src/core/temp_directory.cpp')
START = 'src/core/startup/'
SOURCE = re.compile(r'/(src/[\w./-]+):(\d+)')


@dataclass
class CallSite:
    """One way from the program's entry to the call of a function."""
    function: str
    address: str    # as faults take it
    calls: int
    frames: tuple   # places in src/, as "src/host/files.cpp:12", from the call outwards
    number: int     # among those of the function, in the order of their first calls

    @property
    def place(self):
        """The call itself."""
        return self.frames[0] if self.frames else '?'

    @property
    def is_of_start(self):
        """Whether the start of the agent, or its end, comes by here."""
        return any(frame.startswith(START) for frame in self.frames)

    @property
    def way(self):
        """The place and who has called it, without lines, to be told apart from others."""
        return self.frames[:1] if self.place.split(':')[0] in LAST_FRAMES else self.frames


def places_of(program, addresses):
    """For each return address the places in src/ that it stands for, inlined ones first."""
    before = [hex(int(address, 16) - 1) for address in addresses]
    told = subprocess.run(['addr2line', '-a', '-i', '-e', str(program)], input='\n'.join(before),
                          capture_output=True, text=True, check=True).stdout
    places = {}
    current = None
    for line in told.splitlines():
        if line.startswith('0x'):
            current = f'{int(line, 16) + 1:x}'
            places[current] = []
        elif match := SOURCE.search(line):
            if match[1] not in WRAPPERS:
                places[current].append(f'{match[1]}:{match[2]}')
    return places


def read_census(program, calls):
    """\\param calls: the list of a census. One site for each of its ways, in order."""
    addresses = sorted({address for call in calls for address in call['site'].split()})
    places = places_of(program, addresses)
    counts = {}
    sites = []
    for call in calls:
        frames = tuple(place for address in call['site'].split() for place in places[address])
        number = counts[call['function']] = counts.get(call['function'], 0) + 1
        sites.append(CallSite(call['function'], call['site'], call['calls'], frames, number))
    return sites


def distinct(sites):
    """One site of each way: of a call that is reached alike the first stands for all."""
    found = {}
    for site in sites:
        found.setdefault((site.function, site.way), site)
    return list(found.values())
