"""Runs of one scenario, each with one planned failure, judged against runs without any."""

import tempfile
import time
from collections import Counter
from pathlib import Path

# pylint: disable=import-error
import by_design
import scenarios
from agent_run import Hang
from call_sites import distinct, read_census
from combinations import combinations_of
from observation import observe
from oracle import STOPPED, judge
from surroundings import Surroundings

USUAL_RUNS = 2
FAILING_PRECHECKS = {'upgradeRunner': {'requirements': {'findings': [scenarios.FINDING]}}}


class Sweep:
    """One scenario with its servers. Ends them as a context."""

    def __init__(self, programs, scenario):
        self.scenario = scenario
        self._programs = programs
        self._folder = tempfile.TemporaryDirectory(prefix='sweep-')
        self._world = Surroundings(programs, Path(self._folder.name) / 'world', scenario)
        self._secrets = [self._world.password, self._world.ssh_password, *scenarios.SECRETS]
        self._usual = None
        self._usual_files = set()

    def __enter__(self):
        return self

    def __exit__(self, *_exception):
        self._world.end()
        self._folder.cleanup()

    def run(self, patch):
        """One run of the agent on a new machine."""
        self._world.renew(patch)
        since = time.time() - 1
        session = scenarios.Session()
        try:
            try:
                self.scenario.act(self._world, session)
            except Hang as hang:
                session.hang = str(hang)
            return observe(self._world, session, since, self._secrets)
        finally:
            if session.agent:
                session.agent.close()
            self._world.remove_machine()

    def learn(self):
        """What runs without a failure are like. Returns the sites of their calls."""
        seen = [self.run({'census': 'calls'}) for _ in range(USUAL_RUNS)]
        failing = self.run({**FAILING_PRECHECKS, 'census': 'handles'})
        self._usual = merged(seen)
        self._usual_files = self._usual.files | failing.files
        return read_census(self._programs / 'halvard', self._usual.census['calls'])

    def take_over(self, other):
        """Judges by what another sweep of the same scenario has learned."""
        self._usual, self._usual_files = other._usual, other._usual_files

    def combinations(self, sites, every_way):
        """\\param every_way: each way to a call is one, not each place."""
        if self.scenario.skips_start:
            sites = [site for site in sites if not site.is_of_start]
        if not every_way:
            sites = distinct(sites)
        return combinations_of(self.scenario.name, sites)

    def check_usual(self):
        """What is wrong with a run in which nothing fails; it makes all others pointless."""
        usual = self._usual
        faults = []
        if usual.hang or usual.exit_code is None or usual.errors.strip() or usual.processes:
            faults.append(f'exit code {usual.exit_code}, {usual.hang or usual.errors}')
        if self.scenario.name != 'failing-start' and usual.exit_code != STOPPED:
            faults.append(f'exit code {usual.exit_code}')
        faults += [f'{operation}: {outcome}' for operation, outcome in usual.replies
                   if outcome.startswith('NO ANSWER')]
        return faults

    def try_out(self, combination):
        """The verdict on a failure, and how long its run took."""
        began = time.monotonic()
        self._world.leaks_count = not by_design.keeps_memory(combination.site.function)
        seen = self.run({'census': 'handles', 'faults': [combination.fault()]})
        verdict = judge(seen, self._usual, self._usual_files, combination.site)
        return verdict, time.monotonic() - began


def merged(observations):
    """What at least one of the runs tells, holds or leaves."""
    first = observations[0]
    for other in observations[1:]:
        first.log |= other.log
        first.console |= other.console
        first.files |= other.files
        first.replies += [reply for reply in other.replies if reply not in first.replies]
        known = {(call['function'], call['site']) for call in first.census['calls']}
        first.census['calls'] += [call for call in other.census['calls']
                                  if (call['function'], call['site']) not in known]
        handles = Counter(first.census['handles']) | Counter(other.census['handles'])
        first.census['handles'] = sorted(handles.elements())
    return first
