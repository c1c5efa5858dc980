#!/usr/bin/env python3
"""A child process of the agent, and what it leaves in the log."""

import re
import sys

from agent_case import WineTest, main
from wine_machine import PROCESS_PROBE


class Child(WineTest):
    """A child process of the agent. The lines are those of the native build's own tests."""

    FOLDER = 'C:\\windows\\system32\\'

    def log_of(self, ending, code):
        """Runs a child that ends with the code. Returns the log, without the ids of the process."""
        line = f'"{self.FOLDER}cmd.exe" /c exit {code}'
        run = self.machine.run(PROCESS_PROBE, line)
        self.assertEqual(run.exit_code, ending)
        log = [re.sub(r'pid \d+ tid \d+', 'pid N tid N', entry) for entry in self.machine.log()]
        self.assertEqual(log[0], 'I: LaunchProcAndMonitorStatus: Launching '
                                 f'"{line}" in "{self.FOLDER}"')
        return log[1:]

    def test_success_is_logged_step_by_step(self):
        self.assertEqual(self.log_of(0, 0), [
            'I: LaunchProcAndMonitorStatus: Launched process with pid N tid N',
            'I: MonitorStatusFile: Started execution of process',
            'I: MonitorStatusFile: Other process terminated with 0, exiting',
            'I: MonitorStatusFile: Process exited with a \'0\' exit code; no status monitoring so '
            'assuming success',
            'I: MonitorStatusFile: called parse callback 0 times',
            'I: MonitorStatusFile: No need to wait for process to complete',
            'I: MonitorStatusFile: Process\'s job tree still hasn\'t terminated, waiting',
            'I: MonitorStatusFile: Wait on process\'s job tree has completed: 0',
            'W: LaunchProcAndMonitorStatus: Job still alive, terminating'])

    def test_failure_is_logged_with_its_code(self):
        log = self.log_of(1, 1603)
        self.assertIn('I: MonitorStatusFile: Other process terminated with 1603, exiting', log)
        self.assertIn('E: MonitorStatusFile: Process exited with a non-zero exit code; no status '
                      'monitoring so assuming failure', log)
        self.assertEqual(log[-2:], [
            'E: LaunchProcAndMonitorStatus: Failure detected while monitoring status file',
            'W: LaunchProcAndMonitorStatus: Job still alive, terminating'])


if __name__ == '__main__':
    sys.exit(main())
