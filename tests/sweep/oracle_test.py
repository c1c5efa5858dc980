"""Whatever may not be behind a failure is found, and what is right isn't."""

import sys
import unittest
from collections import Counter

import sweep_modules  # noqa: F401  pylint: disable=unused-import

# pylint: disable=wrong-import-order,import-error
import by_design
from call_sites import CallSite
from observation import Observation
from oracle import judge

SITE = CallSite('CopyFileW', '1a 2b', 1, ('src/runner/runner_launch.cpp:12',), 1)
TOLD = Counter({('E', 'Failed to copy the file: 5'): 1})


def census(handles=(), failures=1, **more):
    return {'handles': list(handles), 'objects': 0, 'sockets': 0, 'threads': 2,
            'failures': failures, **more}


def usual(**members):
    return Observation(**{'exit_code': 0, 'census': census(['Mutex'], 0),
                          'status': {'initialization': 'success', 'error': None},
                          'files': {'drive_c/halvard.log'}, **members})


def failed(**members):
    """A run that ended as it may."""
    return usual(**{'log': TOLD, 'census': census(['Mutex']), **members})


class Oracle(unittest.TestCase):
    def judge(self, seen, site=SITE, allowed=frozenset({'drive_c/halvard.log'})):
        return judge(seen, usual(), allowed, site)

    def assert_found(self, beginning, seen, **more):
        faults = self.judge(seen, **more).faults
        self.assertTrue(any(fault.startswith(beginning) for fault in faults), faults)

    def test_a_failure_that_is_told_is_right(self):
        verdict = self.judge(failed())
        self.assertEqual((verdict.kind, verdict.faults), ('went on, told', []))
        self.assertEqual(verdict.told, ['E: Failed to copy the file: 5'])

    def test_a_start_that_fails_and_says_so_is_right(self):
        verdict = self.judge(failed(exit_code=255, status={'initialization': 'fail', 'error': 'No.'}))
        self.assertEqual((verdict.kind, verdict.faults), ('ended', []))

    def test_a_failure_that_did_not_come_is_no_failure(self):
        self.assertEqual(self.judge(usual()).kind, 'not reached')

    def test_a_failure_that_nobody_is_told_of_is_found(self):
        self.assert_found('SILENT', failed(log=Counter()))

    def test_a_line_at_level_info_tells_nobody(self):
        self.assert_found('SILENT', failed(log=Counter({('I', 'Copied the file.'): 1})))

    def test_a_line_that_comes_by_chance_tells_nobody(self):
        line = by_design.BY_CHANCE[0]
        self.assert_found('SILENT', failed(log=Counter({('W', line): 1})))

    def test_a_failure_at_level_info_tells_as_well(self):
        self.assertEqual(self.judge(failed(log=Counter({('I', 'Failed to wait.'): 1}))).faults, [])

    def test_the_console_and_a_reply_tell_as_well(self):
        self.assertEqual(self.judge(failed(log=Counter(), console=Counter(['No.']))).faults, [])
        self.assertEqual(self.judge(failed(log=Counter(), replies=[('a', 'fail No.')])).faults, [])

    def test_a_function_whose_failure_is_silent_by_design_is_right(self):
        place = ('CopyFileW', 'src/runner/runner_launch.cpp')
        by_design.SILENT[place] = 'a test'
        self.addCleanup(by_design.SILENT.pop, place)
        self.assertEqual(self.judge(failed(log=Counter())).kind, 'went on, silent by design')

    def test_a_failure_may_be_silent_for_one_caller_and_not_for_others(self):
        poll = 'src/service/export_operations.cpp:57'
        for caller, kind in ((poll, 'went on, silent by design'),
                             ('src/runner/answer_file.cpp:42', 'silent')):
            site = CallSite('MapViewOfFile', '1a', 1, ('src/core/json_files.cpp:31', caller), 1)
            self.assertEqual(self.judge(failed(log=Counter()), site).kind, kind)

    def test_a_signal_an_odd_exit_code_and_an_end_without_census_are_crashes(self):
        self.assert_found('CRASH', failed(exit_code=-11))
        self.assert_found('CRASH', failed(exit_code=3))
        self.assert_found('CRASH', failed(census=None))

    def test_what_a_sanitizer_or_the_lab_says_is_a_crash(self):
        self.assert_found('CRASH', failed(errors='ERROR: LeakSanitizer'))

    def test_a_hang_is_found(self):
        self.assert_found('HANG', failed(exit_code=None, hang='the start', census=None))

    def test_a_prompt_whose_text_is_missing_may_wait(self):
        waits = failed(exit_code=None, hang='the start', census=None, console=Counter())
        asks = usual()
        asks.console = Counter(['Enter a password: '])
        texts = CallSite('LoadStringW', '1a', 1, ('src/core/messages.cpp:1',), 1)
        self.assertEqual(judge(waits, asks, frozenset(), texts).faults, [])
        self.assertIn('HANG: the start', judge(waits, asks, frozenset(), SITE).faults)
        self.assertIn('HANG: the start', judge(waits, usual(), frozenset(), texts).faults)
        waits.console = asks.console
        self.assertIn('HANG: the start', judge(waits, asks, frozenset(), texts).faults)

    def test_a_status_file_that_denies_the_failure_is_found(self):
        self.assert_found('STATUS', failed(exit_code=255))
        self.assert_found('STATUS', failed(exit_code=255, status={'initialization': 'fail',
                                                                  'error': None}))
        self.assert_found('STATUS', failed(status={'initialization': 'fail', 'error': 'No.'}))

    def test_a_handle_that_is_left_is_found(self):
        self.assert_found('LEAK', failed(census=census(['Mutex', 'File'])))
        self.assert_found('LEAK', failed(census=census(['Mutex', 'Mutex'])))
        self.assertEqual(self.judge(failed(census=census())).faults, [])

    def test_a_handle_that_the_failing_function_had_to_close_is_right(self):
        site = CallSite('FindClose', '1a', 1, ('src/host/files.cpp:1',), 1)
        self.assertEqual(self.judge(failed(census=census(['Mutex', 'Find'])), site).faults, [])
        self.assert_found('LEAK', failed(census=census(['Mutex', 'File'])), site=site)

    def test_what_cannot_be_deleted_may_stay_and_nothing_else(self):
        site = CallSite('CloseHandle', '1a', 1, ('src/core/json_files.cpp:1',), 1)
        stays = 'Temp/UpgradeRunnerInput.json'
        self.assertEqual(self.judge(failed(files={stays}, secrets=[stays]), site).faults, [])
        self.assert_found('FILES', failed(files={'Temp/other.json'}), site=site)
        self.assert_found('SECRET', failed(secrets=['halvard.log']), site=site)

    def test_an_export_that_runs_on_behind_an_interrupted_agent_is_right(self):
        runs = TOLD + Counter({('I', 'Changed the status of export to: RUNNING'): 1})
        ended = runs + Counter({('I', 'Changed the status of export to: FINISHED'): 1})
        remains = {'processes': ['python3'], 'files': {'Temp/UpgradeRunnerInput.json'},
                   'secrets': ['Temp/UpgradeRunnerInput.json'],
                   'census': census(['Mutex', 'Job'])}
        self.assertEqual(self.judge(failed(log=runs, **remains)).faults, [])
        for fault in ('PROCESSES', 'FILES', 'SECRET', 'LEAK'):
            self.assert_found(fault, failed(log=ended, **remains))

    def test_a_restart_of_services_that_runs_on_behind_an_agent_that_ends_is_right(self):
        runs = TOLD + Counter({('I', "StartServices: Starting service 'kelvd'"): 1})
        ended = runs + Counter({('I', "StartServices: Successfully started service 'kelvd'"): 1})
        held = census(['Mutex', 'ServiceManager', 'Service'])
        self.assertEqual(self.judge(failed(log=runs, census=held)).faults, [])
        self.assert_found('LEAK', failed(log=ended, census=held))
        self.assert_found('LEAK', failed(log=runs, census=census(['Mutex', 'Key'])))

    def test_a_restart_that_ends_behind_the_census_is_right(self):
        ended = TOLD + Counter({('I', 'ServiceControlStartStopAllServices: Starting all services.'): 1,
                                ('I', 'LaunchProcAndMonitorStatus: Launching'): 1,
                                ('W', 'LaunchProcAndMonitorStatus: Job still alive, terminating'): 1})
        held = ['Mutex', 'Job', 'Process', 'Thread', 'Token']
        self.assertEqual(self.judge(failed(log=ended, census=census(held, threads=3))).faults, [])
        self.assert_found('LEAK', failed(log=ended, census=census(held)))
        self.assert_found('LEAK', failed(census=census(held, threads=3)))

    def test_a_restart_by_script_that_runs_on_is_right_as_well(self):
        launch = Counter({('I', 'LaunchProcAndMonitorStatus: Launching "cmd.exe" in "C:"'): 1})
        script = Counter({('I', 'ServiceControlStartStopAllServices: Starting all services.'): 1})
        clean = Counter({('W', 'LaunchProcAndMonitorStatus: Job still alive, terminating'): 1})
        remains = {'processes': ['cmd.exe'], 'census': census(['Mutex', 'Job', 'Process'])}
        self.assertEqual(self.judge(failed(log=TOLD + script + launch, **remains)).faults, [])
        for log in (script + launch + clean, launch):
            for fault in ('PROCESSES', 'LEAK'):
                self.assert_found(fault, failed(log=TOLD + log, **remains))

    def test_a_key_ends_an_agent_without_a_handler_and_no_other(self):
        site = CallSite('SetConsoleCtrlHandler', '1a', 1, ('src/a.cpp:1',), 1)
        seen = failed(exit_code=-2, census=None)
        self.assertEqual(self.judge(seen, site).faults, [])
        self.assert_found('CRASH', seen)

    def test_objects_and_starts_of_winsock_that_are_left_are_found(self):
        self.assert_found('LEAK: objects', failed(census=census(['Mutex'], objects=1)))
        self.assert_found('LEAK: sockets', failed(census=census(['Mutex'], sockets=1)))

    def test_processes_files_and_secrets_are_found(self):
        self.assert_found('PROCESSES', failed(processes=['python3']))
        self.assert_found('FILES', failed(files={'drive_c/halvard.log', 'drive_c/input.json'}))
        self.assert_found('SECRET', failed(secrets=['halvard.log']))

    def test_a_request_without_an_answer_is_found(self):
        self.assert_found('ANSWER', failed(replies=[('invoke_export', 'NO ANSWER: TimeoutError')]))


if __name__ == '__main__':
    unittest.main(argv=[sys.argv[0], '-v'])
