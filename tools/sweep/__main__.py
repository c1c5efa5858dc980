"""Lets every call of a Windows function fail, one after the other, and looks how the agent ends."""

import argparse
import contextlib
import json
import queue
import signal
import subprocess
import sys
import threading
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / 'rehearsal'))

# pylint: disable=wrong-import-position,import-error
import scenarios  # noqa: E402
from combinations import one_of_each_call, sample  # noqa: E402
from report import Report  # noqa: E402
from sweep import Sweep  # noqa: E402

TREE = Path(__file__).resolve().parents[2]
DESCRIPTION = '''Lets calls of Windows functions fail, one in each run of the agent: once, and from then on,
with each code that matters. Each run has to end as it may: with a line that tells of the failure,
without a crash, a hang, or anything left behind. The report names each combination; the exit code
is 0 only if all ended well, and 77 where the host permits no appliance to copy to.'''
SKIPPED = 77


def parse(arguments):
    parser = argparse.ArgumentParser(
        prog='tools/sweep', description=DESCRIPTION, epilog='scenarios:\n' + scenarios.listing(),
        formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--programs', metavar='DIR', default=TREE / 'build' / 'native' / 'bin',
                        help='the programs of a build (build/native/bin)')
    parser.add_argument('--scenario', action='append', metavar='NAME',
                        help='this one alone; may be given more than once (all)')
    parser.add_argument('--function', action='append', metavar='NAME',
                        help='failures of this one alone; may be given more than once (all)')
    parser.add_argument('--only', metavar='NAME', help='the one combination of this name')
    parser.add_argument('--every-way', action='store_true',
                        help='each way to a place of a call, not each place')
    parser.add_argument('--one-code', action='store_true',
                        help='the first code of each call alone, and once: a third, for programs that '
                             'a sanitizer slows down')
    parser.add_argument('--sample', type=int, metavar='COUNT',
                        help='so many combinations of each scenario, drawn by chance')
    parser.add_argument('--seed', type=int, default=1, help='of the chance (1)')
    parser.add_argument('--jobs', type=int, default=1, help='so many runs at a time (1)')
    parser.add_argument('--report', metavar='DIR',
                        help='add results to DIR/results.jsonl; what it has of the same programs '
                             'isn\'t run again')
    options = parser.parse_args(arguments)
    check(parser, options)
    return options


def check(parser, options):
    if not (Path(options.programs) / 'halvard').exists():
        parser.error(f'{options.programs} holds no programs of the native build: build its target '
                     'rehearsal, or name others by --programs')
    for name in wanted_names(options):
        if scenarios.named(name) is None:
            parser.error(f'no scenario is named {name}; --help lists them')


def wanted_names(options):
    return [options.only.split('/', maxsplit=1)[0]] if options.only else options.scenario or []


def wanted_scenarios(options):
    return [scenarios.named(name) for name in wanted_names(options)] or scenarios.ALL


def wanted_combinations(options, combinations, done):
    chosen = one_of_each_call(combinations) if options.one_code else combinations
    chosen = [combination for combination in chosen if combination.name not in done]
    if options.only:
        chosen = [combination for combination in chosen if combination.name == options.only]
    if options.function:
        chosen = [combination for combination in chosen
                  if combination.site.function in options.function]
    if options.sample:
        chosen = sample(chosen, options.sample, options.seed)
    return chosen


def sweep_scenario(options, scenario, report, done):
    programs = Path(options.programs).resolve()
    with Sweep(programs, scenario) as first:
        sites = first.learn()
        faults = first.check_usual()
        if faults:
            report.line(f'{scenario.name} doesn\'t come to its usual end: {faults}')
            return False
        combinations = first.combinations(sites, options.every_way)
        report.census(scenario.name, sites, combinations)
        work = queue.SimpleQueue()
        for combination in wanted_combinations(options, combinations, done):
            work.put(combination)
        lock = threading.Lock()
        helpers = [threading.Thread(target=help_out, args=(programs, scenario, first, work, report,
                                                           lock))
                   for _ in range(0 if scenario.is_alone else options.jobs - 1)]
        for helper in helpers:
            helper.start()
        try:
            work_off(first, work, report, lock)
        finally:
            drop(work)
            for helper in helpers:
                helper.join()
    return True


def drop(work):
    """Leaves nothing to be done, so that an interrupted sweep ends."""
    with contextlib.suppress(queue.Empty):
        while True:
            work.get_nowait()


def help_out(programs, scenario, first, work, report, lock):
    with Sweep(programs, scenario) as own:
        own.take_over(first)
        work_off(own, work, report, lock)


def work_off(sweep, work, report, lock):
    while True:
        try:
            combination = work.get_nowait()
        except queue.Empty:
            return
        verdict, seconds = sweep.try_out(combination)
        with lock:
            report.result(combination, verdict, seconds)


def reason_without_appliance(programs):
    """Why the host permits none; empty where it does."""
    tried = subprocess.run([Path(programs) / 'lab-sshd', '--until-input-ends'],
                           stdin=subprocess.DEVNULL, capture_output=True, text=True, check=False)
    return '' if tried.returncode == 0 else tried.stderr.strip()


def results_of(folder):
    file = folder / 'results.jsonl'
    if not file.exists():
        return set()
    return {json.loads(line)['name'] for line in file.read_text(encoding='utf-8').splitlines()}


def heed_interrupts():
    """A shell that runs the sweep in the background has its programs ignore the key that ends them, and
    the agents would inherit that."""
    signal.signal(signal.SIGINT, signal.default_int_handler)


def main():
    options = parse(sys.argv[1:])
    heed_interrupts()
    folder = Path(options.report) if options.report else None
    if folder:
        folder.mkdir(parents=True, exist_ok=True)
    done = results_of(folder) if folder else set()
    report = Report(sys.stdout, folder)
    wanted = wanted_scenarios(options)
    if any(scenario.copies for scenario in wanted):
        if reason := reason_without_appliance(options.programs):
            report.line(f'Skipped: {reason}')
            return SKIPPED
    usual = [sweep_scenario(options, scenario, report, done) for scenario in wanted]
    report.sums()
    return 0 if all(usual) and report.all_is_well() else 1


if __name__ == '__main__':
    sys.exit(main())
