"""Damaged packages beside the agent's program: it starts anyhow, or ends with the reason."""

import checks
from hostile_world import HostileWorld
from mangling import mangled
from processes import Agent

PACKAGES = ('Ostrel-python.msi', 'rimsa-upgrade-runner.msi')
NO_SCRIPTS, NO_PRECHECKS = ('Failed to extract Halvard scripts.',
                            'Failed to run Pre-Migration checks.')
FAILURE = -1


class DamagedPackages:
    name = 'packages'
    machine = ('infrastructure', '5.5')

    def __init__(self, programs_folder):
        self._world = HostileWorld(programs_folder, *self.machine)
        self._folder = self._world.machine.drive / 'Halvard'
        self._whole = {name: (self._folder / name).read_bytes() for name in PACKAGES}

    def end(self):
        self._world.end()

    def run(self, chance):
        """Returns what has come of it."""
        name = chance.choice(PACKAGES)
        whole = self._whole[name]
        try:
            self._lay(name, mangled(chance, whole, reaches=(512, 4096, len(whole))))
            # Nothing of what was in the package runs.
            self._world.order_runner([], 1)
            outcome = self._fail_to_start()
        finally:
            self._lay(name, whole)
            self._world.tell_the_truth()
        self._start()
        return outcome

    def tell(self):
        print('\n'.join(self._world.machine.log().splitlines()[-60:]))

    def _lay(self, name, data):
        # Another file, whatever links the machine's one has.
        part = self._folder / f'{name}.part'
        part.write_bytes(data)
        part.replace(self._folder / name)

    def _fail_to_start(self):
        agent = Agent(self._world)
        try:
            checks.agent_ended(agent, FAILURE)
        finally:
            agent.kill()
        status = self._world.machine.status()
        if status['initialization'] != 'fail' or status['error'] not in (NO_SCRIPTS, NO_PRECHECKS):
            raise AssertionError(f'the status file says {status}')
        self._check_remains(agent)
        return f'"{status["error"]}"'

    def _start(self):
        agent = Agent(self._world)
        try:
            agent.wait_until_it_serves()
            code = agent.end()
        finally:
            agent.kill()
        if code != 0:
            raise AssertionError(f'with whole packages the agent ends with exit code {code}')
        self._check_remains(agent)

    def _check_remains(self, agent):
        checks.nothing_left_behind(self._world)
        checks.no_password_anywhere(self._world, agent.console)
