#!/usr/bin/env python3
"""What a start says of its arguments, and where it logs."""

import sys

from agent_case import FAILURE, PASSWORD, WineTest, english, main
from wine_machine import AGENT


class CommandLine(WineTest):

    def test_help_is_printed_and_is_no_failure(self):
        run = self.machine.run(AGENT, '--help')
        self.assertEqual(run.exit_code, 0)
        self.assertTrue(run.console.startswith(english(1138, '6.0.0', '14510545') + ':\n'))
        # The library wraps the descriptions.
        words = ' '.join(run.console.split())
        for option, number in (('-h [ --help ]', 1139), ('-p [ --admin_password ] arg', 1140),
                               ('-a [ --kv_sa_password ] arg', 1141),
                               ('-e [ --export_dir ] arg', 1142), ('-o [ --hv_port ] arg', 1143),
                               ('-i [ --hv_ip ] arg', 1215)):
            self.assertIn(f'{option} ', words)
            self.assertIn(english(number, 'ostrel.local'), words)

    def test_log_lies_in_the_temporary_folder(self):
        self.machine.run(AGENT, '--help')
        self.assertIn('I: HVInit: stdout successfully changed to UTF-8 mode', self.machine.log())
        # Lines end as those of a Windows text file do.
        content = self.machine.log_file.read_bytes()
        self.assertEqual(content.count(b'\r\n'), content.count(b'\n'))

    def test_errors_are_printed_logged_and_end_the_run(self):
        for arguments, reason in (
                (['--bad_option'], "unrecognised option '--bad_option'"),
                (['-h', '--\u6771\u4eac'], "unrecognised option '--\u6771\u4eac'"),
                (['-o', '9123'], "the option '--admin_password' is required but missing"),
                (['-p'], "the required argument for option '--admin_password' is missing"),
                (['-p', PASSWORD, '-o', '9"1 23'],
                 "the argument ('9\"1 23') for option '--hv_port' is invalid"),
                (['"-p s3cret'], "the option '--admin_password' is required but missing")):
            with self.subTest(arguments=arguments):
                run = self.machine.run(AGENT, *arguments)
                self.assertEqual(run.exit_code, FAILURE)
                self.assertEqual(run.console, english(1144, reason) + '\n')
                log = self.machine.log()
                self.assertIn(f'E: ParseCommandLineOptions: {english(1144, reason)}', log)
                self.assertEqual(
                    log[-1], 'E: CreateHVStatusFile: HV_STATUS_JSON property is not a valid json.')
                self.assertIsNone(self.machine.status())
                self.assert_no_password_in(run.console)


if __name__ == '__main__':
    sys.exit(main())
