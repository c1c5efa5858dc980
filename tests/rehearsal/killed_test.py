"""The agent is killed in each phase of a migration. Started again it finishes one, and leaves nothing
behind that a run which wasn't killed doesn't leave."""

import re
import signal
import sys
import unittest

import programs

FOLDER = programs.take_folder()

import phases  # noqa: E402
import checks  # noqa: E402
import installer  # noqa: E402


def traces(machine):
    """Every file, folder and link of the machine by its path; process ids are all alike."""
    return {re.sub(r'\d+$', 'N', str(path.relative_to(machine.folder)))
            for path in machine.folder.rglob('*')}


class Killed(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        programs.skip_without_appliance(FOLDER)
        cls.world = phases.Surroundings(FOLDER)
        cls.addClassCleanup(cls.world.end)
        cls.usual_traces = cls.traces_of_a_run_that_is_not_killed()

    @classmethod
    def traces_of_a_run_that_is_not_killed(cls):
        cls.world.renew()
        scenario = phases.Scenario(cls.world)
        try:
            scenario.reach('serving')
            installer.migrate(cls.world, scenario.status)
            scenario.agent.wait()
            return traces(cls.world.machine)
        finally:
            scenario.end()

    def kill_in(self, phase):
        self.world.renew()
        machine = self.world.machine
        first = phases.Scenario(self.world)
        self.addCleanup(first.end)
        first.reach(phase)
        first.agent.signal(signal.SIGKILL)
        self.assertEqual(first.agent.wait(), -signal.SIGKILL)
        self.check_remains(first, phase)

        # The job of a runner has no limits, so it goes on without the agent; whoever ends an agent
        # that way ends this one too.
        machine.end_processes()
        first.undo_the_hold()
        self.world.lost_openings = machine.agents_openings()
        status_file = machine.find('hv-status.json')
        if status_file:  # else it would be taken for the second agent's
            status_file.unlink()
        again = self.migrate()
        # Nobody knows a killed agent's link any more.
        self.assertEqual(again.links(), first.links())
        for link in first.links():
            link.unlink()
        self.check_end(again)

    def check_remains(self, scenario, phase):
        """What only a later start clears, or nobody."""
        machine = self.world.machine
        serves = phase in phases.WHILE_IT_SERVES
        self.assertEqual(bool(scenario.runners()), phase in phases.WITH_RUNNER)
        self.assertEqual(scenario.input_file() is not None, phase in phases.WITH_RUNNER)
        self.assertEqual(len(scenario.links()), 1 if phase in phases.WITH_RUNNER else 0)
        self.assertEqual(machine.extraction_folder.exists(), phase != 'prompt')
        self.assertEqual(machine.agents_openings(), [int(scenario.status['port'])] if serves else [])
        self.assertEqual(machine.status(), scenario.status)
        self.assertEqual(machine.export_zip.exists(), phase in ('zip', 'copy'))
        self.assertIsNone(machine.shutdown())

    def migrate(self):
        world = self.world
        again = phases.Scenario(world)
        self.addCleanup(again.end)
        again.reach('serving')
        self.assertIsNone(again.input_file())
        code, output = installer.migrate(world, again.status)
        self.assertEqual(code, 0, output)
        checks.agent_ended(again.agent, 0)
        checks.no_password_anywhere(world, again.agent.console, output)
        return again

    def check_end(self, again):
        world = self.world
        checks.export_arrived(world)
        checks.logs_arrived(world)
        checks.machine_shuts_down(world)
        checks.services_are(world, 'stopped')
        checks.status_of_a_good_start(world, again.status)
        checks.nothing_left_behind(world)
        self.assertEqual(traces(world.machine), self.usual_traces)


class BeforeTheExport(Killed):
    def test_at_the_prompt(self):
        self.kill_in('prompt')

    def test_while_it_extracts(self):
        self.kill_in('extraction')

    def test_while_its_prechecks_run(self):
        self.kill_in('prechecks')

    def test_while_it_serves(self):
        self.kill_in('serving')

    def test_while_the_clients_prechecks_run(self):
        self.kill_in('client\'s prechecks')


class FromTheExportOn(Killed):
    def test_while_it_exports(self):
        self.kill_in('export')

    def test_while_the_export_waits_for_an_answer(self):
        self.kill_in('question')

    def test_while_it_makes_the_zip(self):
        self.kill_in('zip')

    def test_while_it_copies_the_export(self):
        self.kill_in('copy')

    def test_while_it_copies_the_logs(self):
        self.kill_in('copy of logs')


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
