"""A second agent, Ctrl+C and the closing of the console in each phase of a migration."""

import os
import signal
import sys
import unittest

import programs

FOLDER = programs.take_folder()

import phases  # noqa: E402

SHUTTING_DOWN, SECOND_INSTANCE = 1045, 1046
FAILED = 255           # the last byte of -1
ENDED_BY_CONSOLE = 58  # and that of 0xC000013A
CTRL_C, CLOSE = signal.SIGINT, signal.SIGHUP
CTRL_C_EVENT, CTRL_CLOSE_EVENT = 0, 2


class Interrupted(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        programs.skip_without_appliance(FOLDER)
        cls.world = phases.Surroundings(FOLDER)
        cls.addClassCleanup(cls.world.end)

    def reach(self, phase, speed=20):
        self.world.renew()
        self.machine = self.world.machine
        self.scenario = phases.Scenario(self.world)
        self.addCleanup(self.scenario.end)
        self.scenario.reach(phase, speed)
        self.agent = self.scenario.agent
        return self.scenario

    def state(self):
        machine = self.machine
        return (machine.extraction_folder.exists(), machine.agents_openings(),
                self.scenario.runners(), self.scenario.links(), self.scenario.input_file())

    def start_second(self):
        """Which says so, ends, and leaves the first one as it is."""
        before = self.state()
        second = phases.StartedAgent(self.world)
        self.addCleanup(second.close)
        self.assertEqual(second.wait(), FAILED)
        self.assertIn(self.world.messages.text(SECOND_INSTANCE), second.console)
        self.assertFalse(self.agent.has_ended())
        self.assertEqual(self.state(), before)
        # It deletes the file before it knows that it is the second, and makes none of its own.
        self.assertIsNone(self.machine.find('hv-status.json'))

    def press_ctrl_c(self):
        self.agent.signal(CTRL_C)
        self.agent.signal(signal.SIGCONT)
        self.wait_for_event(CTRL_C_EVENT)

    def wait_for_event(self, number):
        phases.wait_until(lambda: f'CtrlHandler: Received ctrl type: {number}' in self.machine.log(),
                          f'control event {number}')

    def says_that_it_ends(self):
        return self.world.messages.text(SHUTTING_DOWN) + '\n' in self.agent.console

    def close_console(self):
        """It is ended 5 seconds later, with nothing put away."""
        before = self.state()
        self.agent.signal(CLOSE)
        self.assertEqual(self.agent.wait(), ENDED_BY_CONSOLE)
        self.wait_for_event(CTRL_CLOSE_EVENT)
        self.assertEqual(self.state(), before)


class BeforeTheServer(Interrupted):
    """Ctrl+C does nothing. The closing of the console ends the agent as it stands."""

    def interrupt(self, phase):
        self.reach(phase)
        self.start_second()
        self.press_ctrl_c()
        self.close_console()
        self.assertFalse(self.says_that_it_ends())
        self.assertIsNone(self.machine.find('hv-status.json'))
        self.assertEqual(bool(self.scenario.runners()), phase == 'prechecks')

    def test_at_the_prompt(self):
        self.interrupt('prompt')

    def test_while_its_prechecks_run(self):
        self.interrupt('prechecks')

    def test_closed_while_it_extracts(self):
        self.reach('extraction')
        # The agent goes on for as long as it may, and would serve by then.
        self.scenario.hang_requirements()
        self.start_second()
        self.agent.signal(CLOSE)
        self.agent.signal(signal.SIGCONT)
        self.assertEqual(self.agent.wait(), ENDED_BY_CONSOLE)
        self.assertTrue(self.machine.extraction_folder.exists())
        self.assertIsNone(self.machine.find('hv-status.json'))

    def goes_on(self):
        status = phases.wait_until(self.machine.status, 'status file')
        self.assertEqual(status['initialization'], 'success')
        self.agent.signal(CTRL_C)
        self.assertEqual(self.agent.wait(), 0)
        self.assertTrue(self.says_that_it_ends())
        self.assertEqual(self.state(), (False, [], {}, [], None))

    def test_prompt_goes_on_behind_ctrl_c(self):
        self.reach('prompt')
        self.press_ctrl_c()
        self.agent.type(self.world.password + '\r')
        self.goes_on()

    def test_extraction_goes_on_behind_ctrl_c(self):
        self.reach('extraction')
        self.press_ctrl_c()
        self.assertFalse(self.says_that_it_ends())
        self.goes_on()


class WhileItServes(Interrupted):
    """The server stops, and the agent ends well. A runner of an export goes on, for it has a thread
    that nobody waits for, and leaves its input file and its link."""

    def interrupt(self, phase, event, speed=20):
        scenario = self.reach(phase, speed)
        self.start_second()
        _, _, runners, links, file = self.state()
        self.agent.signal(event)
        self.assertEqual(self.agent.wait(), 0)
        self.assertTrue(self.says_that_it_ends())
        self.assertEqual(bool(runners), phase in phases.WITH_RUNNER)
        self.assertEqual(self.state(), (False, [], runners, links, file))
        # Their keepers end on the agent's end, and are still there for a moment.
        phases.wait_until(lambda: set(self.machine.processes()) == set(scenario.runners()),
                          'nobody but runners')

    def test_ctrl_c_between_requests(self):
        self.interrupt('serving', CTRL_C)

    def test_ctrl_c_while_it_exports(self):
        self.interrupt('export', CTRL_C)

    def test_ctrl_c_while_the_export_waits_for_an_answer(self):
        self.interrupt('question', CTRL_C)

    # At the true speed: the end takes less than the 5 seconds that the closing leaves.
    def test_closed_between_requests(self):
        self.interrupt('serving', CLOSE, speed=1)

    def test_closed_while_it_exports(self):
        self.interrupt('export', CLOSE, speed=1)

    def test_closed_while_the_export_waits_for_an_answer(self):
        self.interrupt('question', CLOSE, speed=1)

    def test_status_file_stays(self):
        self.reach('serving')
        self.agent.signal(CTRL_C)
        self.assertEqual(self.agent.wait(), 0)
        self.assertEqual(self.machine.status(), self.scenario.status)


class WhileItAnswers(Interrupted):
    """The server stops once the request is answered, and no earlier. The closing of the console
    doesn't wait so long."""

    def interrupt(self, phase):
        self.reach(phase)
        self.start_second()
        self.press_ctrl_c()
        phases.wait_until(self.says_that_it_ends, 'message')
        self.assertFalse(self.agent.has_ended())
        self.close_console()
        self.assertEqual(self.machine.agents_openings(), [int(self.scenario.status['port'])])

    def test_prechecks(self):
        self.interrupt('client\'s prechecks')

    def test_zip(self):
        self.interrupt('zip')

    def test_copy(self):
        self.interrupt('copy')

    def test_copy_of_logs(self):
        self.interrupt('copy of logs')

    def test_ends_well_once_the_request_is_answered(self):
        self.reach('client\'s prechecks')
        self.press_ctrl_c()
        phases.wait_until(self.says_that_it_ends, 'message')
        for number in self.scenario.runners():
            os.kill(number, signal.SIGKILL)
        self.assertEqual(self.agent.wait(), 0)
        self.assertEqual(self.state(), (False, [], {}, [], None))


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v', *sys.argv[1:]])
