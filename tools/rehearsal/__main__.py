"""Rehearses a migration on a described machine of the lab. `./rehearse --help` tells all."""

import argparse
import os
import re
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

import fault_rehearsal
import faults
import serving
import whole_migration
from messages import LANGUAGES
from narrator import Narrator, StepFailed
from world import Settings, World

TREE = Path(__file__).resolve().parents[2]
UNITS = {'': 1, 'K': 1 << 10, 'M': 1 << 20, 'G': 1 << 30}
DESCRIPTION = '''Installs what is missing (Debian 12, root or sudo), builds the native build, starts a
described machine with the servers around it, runs the agent on it, and drives a whole migration as the
installer of the appliance does: prechecks, network, export with a question, copy of data and logs,
shutdown. Looks at what has arrived and at what is left behind, and ends in a table. The exit code is 0
only if everything held.'''


def byte_count(text):
    match = re.fullmatch(r'(\d+)([KMG]?)', text)
    if not match:
        raise argparse.ArgumentTypeError(f'"{text}" is no size such as 200M')
    return int(match[1]) * UNITS[match[2]]


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog='./rehearse', description=DESCRIPTION, epilog='faults:\n' + faults.listing(),
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--type', choices=faults.ALL, default='embedded',
                        help='what is installed on the machine (embedded)')
    parser.add_argument('--source', choices=('5.5', 'platform'), default='5.5',
                        help='by which line of installers (5.5)')
    parser.add_argument('--locale', choices=sorted(LANGUAGES), default='en',
                        help='the language of the machine and of the installer (en)')
    parser.add_argument('--export-size', type=byte_count, default='64M', metavar='SIZE',
                        help='how much is exported, as 200M or 5G (64M)')
    parser.add_argument('--interactive', action='store_true',
                        help='answer the prompts of the agent yourself')
    parser.add_argument('--serve', action='store_true',
                        help='leave the agent and the servers to clients of your own, until Ctrl+C; '
                             'one line of JSON on standard output tells them where they are')
    parser.add_argument('--fault', metavar='NAME',
                        help='let something go wrong, and see that it ends as it should')
    parser.add_argument('--list-faults', action='store_true', help='what can go wrong')
    parser.add_argument('--keep', metavar='DIR', help='leave the machine in DIR, a new folder')
    parser.add_argument('--programs', metavar='DIR',
                        help='run the programs in DIR; nothing is installed or built')
    options = parser.parse_args(arguments)
    check(parser, options)
    return options


def check(parser, options):
    if options.fault:
        fault = faults.named(options.fault)
        if fault is None:
            parser.error(f'no fault is named {options.fault}; --list-faults tells which are')
        if options.type not in fault.types:
            parser.error(f'{options.fault} is for --type {" or ".join(fault.types)}')
        if options.interactive or options.serve:
            parser.error('--fault goes with neither --interactive nor --serve')
    if options.programs and not (Path(options.programs) / 'halvard').exists():
        parser.error(f'{options.programs} holds no programs of the native build')
    if options.interactive and not sys.stdin.isatty():
        parser.error('--interactive wants a terminal')
    if options.keep and os.path.exists(options.keep):
        parser.error(f'{options.keep} is there already')


def build(narrator):
    """Installs and builds with the steps that ./check has too."""
    with narrator.timed('install and build'):
        built = subprocess.run(['bash', '-c', 'set -euo pipefail; source cmake/setup/steps.sh; '
                                'Build native rehearsal native', './rehearse'], cwd=TREE,
                               stdout=sys.stderr, check=False)
        if built.returncode != 0:
            raise StepFailed('the programs can\'t be built')
    return TREE / 'build' / 'native' / 'bin'


def rehearse(options, narrator):
    programs = Path(options.programs).resolve() if options.programs else build(narrator)
    with tempfile.TemporaryDirectory(prefix='rehearsal-') as scratch:
        folder = Path(options.keep).resolve() if options.keep else Path(scratch) / 'machine'
        world = World(Settings(options), programs, folder, scratch, narrator)
        try:
            if options.fault:
                fault_rehearsal.run(world, faults.named(options.fault))
            elif options.serve:
                serving.run(world, options.interactive)
            else:
                whole_migration.run(world, options.interactive)
        finally:
            world.end()
            if not narrator.all_held():
                show_log(world, narrator)


def show_log(world, narrator):
    narrator.step('End of the agent\'s log')
    for line in world.machine.log().splitlines()[-20:]:
        narrator.line(line)


def main():
    options = parse(sys.argv[1:])
    if options.list_faults:
        print(faults.listing())
        return 0
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.default_int_handler)
    # Standard output of a serving rehearsal is for the clients.
    narrator = Narrator(sys.stderr if options.serve else sys.stdout)
    try:
        rehearse(options, narrator)
    except StepFailed as failure:
        narrator.line(f'FAILED: {failure}')
    except KeyboardInterrupt:
        narrator.line('Interrupted.')
        return 130
    narrator.table()
    narrator.line('Every step ended well.' if narrator.all_held()
                  else 'Not a whole rehearsal: see the steps above that failed.')
    if options.keep:
        narrator.line(f'The machine is in {Path(options.keep).resolve()}')
    return 0 if narrator.all_held() else 1


if __name__ == '__main__':
    sys.exit(main())
