#!/usr/bin/env python3
"""Each rule of layering.py is seen to find what it forbids, and to let pass what it doesn't."""

import tempfile
import unittest
from pathlib import Path

import layering


class LayeringTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.tree = Path(folder.name)
        self.write('src/core/text.h')
        self.write('src/host/windows_api.h', '#include <windows.h>')
        self.write('src/core/startup/startup.h')
        self.write('src/pion/scheduler.h')
        self.write('src/krova/messages.h')
        self.write('lab/machine/machine.h')

    def write(self, path, *lines):
        file = self.tree / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text('\n'.join(('#pragma once', *lines, '')), encoding='utf-8')

    def assert_finds(self, text):
        found = layering.findings(self.tree)
        self.assertEqual(len(found), 1, found)
        self.assertIn(text, found[0])

    def test_a_tree_that_keeps_the_rules_passes(self):
        self.write('src/krova/data/value.h', '#include "krova/messages.h"')
        self.write('src/krova/transport/http.h', '#include "pion/scheduler.h"')
        self.write('src/core/startup/startup.cpp', '#include "core/startup/startup.h"')
        self.write('src/core/console.cpp', '#include "host/windows_api.h"', '#include "core/text.h"')
        self.write('lab/api/files.cpp', '#include "machine/machine.h"', '#include <windows.h>')
        self.assertEqual(layering.findings(self.tree), [])

    def test_krova_includes_nothing_of_halvard(self):
        self.write('src/krova/data/value.cpp', '#include "core/text.h"')
        self.assert_finds('src/krova/data/value.cpp:2: krova/ includes nothing of src/core/')

    def test_pion_includes_nothing_of_krova(self):
        self.write('src/pion/server.cpp', '#include "krova/messages.h"')
        self.assert_finds('pion/ includes nothing of src/krova/')

    def test_client_libraries_include_what_is_below_them(self):
        self.write('src/tunrak/http.h')
        self.write('src/zelmo/types.h', '#include "tunrak/http.h"')
        self.write('src/quen/folder.h', '#include "zelmo/types.h"')
        self.write('src/lookup/info.h', '#include "zelmo/types.h"')
        self.write('src/core/client.h', '#include "quen/folder.h"')
        self.assertEqual(layering.findings(self.tree), [])

    def test_client_libraries_include_nothing_of_halvard_or_above(self):
        for library in ('tunrak', 'zelmo', 'quen', 'lookup'):
            self.write(f'src/{library}/bad.h', '#include "core/text.h"')
            self.assert_finds(f'{library}/ includes nothing of src/core/')
            self.write(f'src/{library}/bad.h')
        self.write('src/zelmo/types.h')
        self.write('src/tunrak/http.h', '#include "zelmo/types.h"')
        self.assert_finds('tunrak/ includes nothing of src/zelmo/')

    def test_libraries_know_nothing_of_windows(self):
        self.write('src/pion/server.cpp', '#include <winsock2.h>')
        self.assert_finds('pion/ knows nothing of Windows')

    def test_a_library_does_not_reach_out_by_a_relative_path(self):
        self.write('src/pion/server.cpp', '#include "../core/text.h"')
        self.assert_finds('pion/ includes nothing of src/core/')

    def test_sources_never_include_the_lab(self):
        self.write('src/core/console.cpp', '#include "machine/machine.h"')
        self.assert_finds('src/core/console.cpp:2: src/ never includes lab/')

    def test_windows_headers_come_through_the_umbrella(self):
        self.write('src/core/console.cpp', '#include <windows.h>')
        self.assert_finds('Windows headers come through src/host/windows_api.h')

    def test_a_header_beside_the_umbrella_may_name_windows_headers(self):
        self.write('src/host/access_control_api.h', '#include <aclapi.h>')
        self.assertEqual(layering.findings(self.tree), [])

    def test_ground_floor_includes_no_subsystem(self):
        self.write('src/runner/output.h')
        self.write('src/core/text.h', '#include "runner/output.h"')
        self.assert_finds('core/ is the ground floor, and includes no subsystem')

    def test_roof_includes_subsystems_and_these_one_another(self):
        self.write('src/runner/output.h', '#include "core/text.h"')
        self.write('src/service/export.h', '#include "runner/output.h"')
        self.write('src/core/startup/startup.h', '#include "service/export.h"')
        self.assertEqual(layering.findings(self.tree), [])

    def test_nothing_includes_the_driver(self):
        self.write('src/core/console.cpp', '#include "core/startup/startup.h"')
        self.assert_finds('nothing includes src/core/startup/')

    def test_a_circle_of_headers_is_found(self):
        self.write('src/core/a.h', '#include "core/b.h"')
        self.write('src/core/b.h', '#include "core/c.h"')
        self.write('src/core/c.h', '#include "core/a.h"')
        self.assert_finds('circle of includes')

    def test_two_ways_to_one_header_are_no_circle(self):
        self.write('src/core/a.h', '#include "core/b.h"', '#include "core/c.h"')
        self.write('src/core/b.h', '#include "core/c.h"')
        self.write('src/core/c.h')
        self.assertEqual(layering.findings(self.tree), [])

    def test_sources_do_not_ask_for_the_platform(self):
        self.write('src/core/console.cpp', '#ifdef _WIN32', '#endif')
        self.assert_finds('src/ is one source for both builds')


if __name__ == '__main__':
    unittest.main()
