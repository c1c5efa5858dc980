#!/usr/bin/env python3
"""The agent's console: a person at its prompt, and the file that its text is sent to."""

import sys

from agent_case import (FAILURE, PASSWORD, WineTest, english, install_single_sign_on, main,
                        read_messages)
from wine_machine import AGENT, CONSOLE_PROBE, language

PROMPT = 'Enter Administrator@ostrel.local password: '


class RedirectedOutput(WineTest):
    """What a file gets that the console's text is sent to."""

    LANGUAGES = {'de': 'de_DE', 'en': 'en_US', 'es': 'es_ES', 'fr': 'fr_FR', 'ja': 'ja_JP',
                 'ko': 'ko_KR', 'zh_CN': 'zh_CN', 'zh_TW': 'zh_TW'}

    def assert_lines_end_as_in_windows(self, output: bytes) -> None:
        self.assertEqual(output.count(b'\r\n'), output.count(b'\n'))
        self.assertEqual(output.count(b'\r\n'), output.count(b'\r'))

    def test_is_utf8_in_each_language(self):
        for name, host in self.LANGUAGES.items():
            with self.subTest(language=name):
                messages = read_messages(name)
                run = self.machine.run(AGENT, '-p', PASSWORD, variables=language(host))
                self.assertEqual(run.exit_code, FAILURE)
                refusal = messages[1122].replace('[0]', '6.0')
                expected = f'{messages[1014]}\n{refusal}\n{messages[1123]}\n'
                self.assertEqual(run.console[:len(expected)], expected)
                self.assert_lines_end_as_in_windows(run.output)
                self.assertFalse(run.output.startswith(b'\xef\xbb\xbf'))
                # It would stay English where a thread's language can be changed.
                self.assertIn(f'E: DiscoverInstalledProducts: {messages[1123]}', self.machine.log())

    def test_records_of_the_framework_stand_between_the_agents_own_lines(self):
        run = self.machine.run(CONSOLE_PROBE)
        self.assertEqual(run.exit_code, 0)
        lines = run.console.splitlines()
        self.assertEqual(len(lines), 3, run.console)
        self.assertEqual(lines[0], 'before \u00e4 \u6771\u4eac \U0001f600')
        self.assertRegex(lines[1], r'^\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{6}\] \[0x[0-9a-f]+\] '
                                   '\\[warning\\] record \u00e4 \u6771\u4eac$')
        self.assertEqual(lines[2], 'after')
        self.assert_lines_end_as_in_windows(run.output)


class Console(WineTest):

    def setUp(self):
        super().setUp()
        install_single_sign_on(self.machine)

    def test_second_instance_ends_while_the_first_waits_for_its_password(self):
        first = self.machine.start(AGENT)
        first.wait_for(PROMPT)
        second = self.machine.run(AGENT, '-p', PASSWORD)
        self.assertEqual(second.exit_code, FAILURE)
        self.assertEqual(second.console, f'{english(1014)}\n{english(1046)}\n')
        self.assertIn(f'E: HVInit: {english(1046)}', self.machine.log())

    def test_three_wrong_passwords_at_the_console_end_the_run(self):
        agent = self.machine.start(AGENT)
        for attempt in range(3):
            agent.wait_until(lambda: agent.console.count(PROMPT) > attempt, 'a prompt')
            agent.type(PASSWORD)
            # The console reads keys from here on; a return that came before would be a line end.
            stars = len(PASSWORD) * (attempt + 1)
            agent.wait_until(lambda: agent.console.count('*') >= stars, 'the password\'s stars')
            agent.type('\r')
        agent.wait_for(english(1126))
        agent.type('\r')
        run = agent.wait()
        self.assertEqual(run.exit_code, FAILURE)
        asked = f'{PROMPT}{"*" * len(PASSWORD)}\n{english(1050)}\n'
        self.assertEqual(self.without_log_notice(run.console),
                         f'{english(1014)}\n{asked * 3}{english(1042)}\n{english(1126)}\n')
        self.assert_no_password_in(run.console)

    def test_backspace_takes_a_star_back_and_nothing_more(self):
        agent = self.machine.start(AGENT)
        agent.wait_for(PROMPT)
        agent.type('x')
        # The console reads keys from here on; before, they would be the terminal's to edit.
        agent.wait_for(f'{PROMPT}*')
        agent.type('\x7f' + '\x7f' + 'yz\x7f')
        agent.wait_for(f'{PROMPT}*\b \b**\b \b')
        agent.type('\r')
        agent.wait_until(lambda: agent.console.count(PROMPT) > 1, 'the second prompt')
        self.assertIn(f'{PROMPT}*\b \b**\b \b\n', agent.console)


if __name__ == '__main__':
    sys.exit(main())
