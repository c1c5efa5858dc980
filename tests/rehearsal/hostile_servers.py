"""Servers and files that lie: each seed mangles what one of them tells the agent. Whatever that is, the
agent answers as it may, tells why, keeps nothing, gives nothing away, and goes on when the lies end.

    hostile_servers.py PROGRAMS --seeds 0-199
"""

import argparse
import random
import re
import sys
import time

import programs

FOLDER = programs.take_folder()
sys.path.insert(0, str(programs.TREE / 'tools' / 'rehearsal'))

from hostile_attacks import ATTACKS  # noqa: E402
from hostile_packages import DamagedPackages  # noqa: E402
from hostile_world import HostileScenario, HostileWorld, have_own_network  # noqa: E402
from seeds import exit_code_of, held, seeds_of  # noqa: E402

LIMIT_SECONDS = 30
MORE_MEMORY_BYTES = 64 << 20  # what the heap keeps of large documents
# Each goes into a folder below that of the one before, and a path has its limit.
MOST_EXPORTS = 20
REASON = re.compile(r'\| [EW]: ')


class Trials:
    """Agents that are asked, one for each kind of machine, as soon as one of its kind is needed."""

    def __init__(self, any_memory):
        self._any_memory = any_memory
        self._packages = None
        self._worlds = {}
        self._scenarios = {}

    def end(self):
        for machine in list(self._worlds):
            self._drop_machine(machine)
        self._drop_packages()

    def end_agents(self):
        for machine in list(self._scenarios):
            self._end_agent(machine)

    def run(self, seed):
        """Returns what has come of it."""
        attack = attack_of(seed)
        chance = random.Random(seed)
        if attack is DamagedPackages:
            self._packages = self._packages or DamagedPackages(FOLDER)
            return self._packages.run(chance)
        return attack_with(attack, self._scenario_of(attack.machine), chance)

    def drop(self, attack):
        """The next seed gets an agent and servers of its own."""
        if attack is DamagedPackages:
            self._drop_packages()
        else:
            self._drop_machine(attack.machine)

    def tell(self, attack):
        """What was shown, and the end of the log, for who looks for a failure's reason."""
        if attack is DamagedPackages:
            if self._packages:
                self._packages.tell()
        elif scenario := self._scenarios.get(attack.machine):
            print(scenario.agent.console)
            print('\n'.join(scenario.world.machine.log().splitlines()[-60:]))

    def _drop_packages(self):
        if self._packages:
            self._packages.end()
            self._packages = None

    def _drop_machine(self, machine):
        if scenario := self._scenarios.pop(machine, None):
            scenario.agent.kill()
        if world := self._worlds.pop(machine, None):
            world.end()

    def _end_agent(self, machine):
        scenario = self._scenarios[machine]
        if not self._any_memory:
            scenario.check_memory(MORE_MEMORY_BYTES)
        scenario.end()
        self._drop_machine(machine)

    def _scenario_of(self, machine):
        """One that has done already what is done once."""
        if machine in self._scenarios and self._scenarios[machine].exports > MOST_EXPORTS:
            self._end_agent(machine)
        if machine not in self._scenarios:
            self._worlds[machine] = HostileWorld(FOLDER, *machine)
            scenario = self._scenarios[machine] = HostileScenario(self._worlds[machine])
            for attack in ATTACKS:
                if attack.machine == machine:
                    prove(scenario, attack)
            scenario.remember_usual()
        return self._scenarios[machine]


def attack_of(seed):
    return (*ATTACKS, DamagedPackages)[seed % (len(ATTACKS) + 1)]


def attack_with(attack, scenario, chance):
    scenario.new_log()
    started = time.monotonic()
    attack.arm(scenario.world, chance)
    reply = attack.ask(scenario)
    seconds = time.monotonic() - started
    outcome = outcome_of(scenario, attack, reply)
    check_log(scenario, outcome)
    check_secrets(scenario, str(reply), scenario.agent.console)
    scenario.world.tell_the_truth()
    prove(scenario, attack)
    scenario.check_usual(attack.keeps)
    if seconds > LIMIT_SECONDS:
        raise AssertionError(f'answered after {seconds:.1f} s')
    return f'{outcome} after {seconds:.1f} s'


def prove(scenario, attack):
    """Without a lie the attack's question is answered well."""
    if attack.prove:
        attack.prove(scenario)
        return
    reply = attack.ask(scenario)
    if reply['result'] != 'success':
        raise AssertionError(f'without a lie: {reply}')


def outcome_of(scenario, attack, reply):
    """Either a success or one of the failures that there are, in its own words."""
    if reply['result'] == 'success' and not reply['error']:
        return 'success'
    texts = (scenario.world.messages.text(number) for number in attack.errors)
    # What stands in a message's places differs.
    fitting = any(re.match(re.sub(r'\\\[\d\\\]', '.*', re.escape(text)), reply['error'])
                  for text in texts)
    if reply['result'] != attack.failure or not fitting:
        raise AssertionError(f'no answer of {attack.name}: {reply}')
    return f'"{reply["error"][:50]}"'


def check_log(scenario, outcome):
    log = scenario.new_log()
    if outcome != 'success' and not REASON.search(log):
        raise AssertionError(f'{outcome} without a reason in the log')
    check_secrets(scenario, log)


def check_secrets(scenario, *texts):
    world = scenario.world
    if any(secret in text for secret in (world.password, world.ssh_password) for text in texts):
        raise AssertionError('a password is shown')


def run_seed(trials, seed, shows):
    attack = attack_of(seed)

    def clean_up():
        if shows:
            trials.tell(attack)
        trials.drop(attack)

    return held(f'seed {seed}: {attack.name}', lambda: trials.run(seed), clean_up)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--seeds', type=seeds_of, default='0-199', metavar='FROM-TO')
    parser.add_argument('--show', action='store_true', help='show the log of what fails')
    parser.add_argument('--any-memory', action='store_true', help='let the agent keep memory')
    options = parser.parse_args()
    programs.skip_without_appliance(FOLDER)
    if not have_own_network():
        print('Skipped: this host permits no network of our own')
        return programs.SKIPPED
    trials = Trials(options.any_memory)
    try:
        failures = [seed for seed in options.seeds if not run_seed(trials, seed, options.show)]
        trials.end_agents()
    finally:
        trials.end()
    return exit_code_of(options.seeds, failures)


if __name__ == '__main__':
    sys.exit(main())
