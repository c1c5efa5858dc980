#!/usr/bin/env python3
"""Sums up test runs: test_results.py LABEL=REPORT...

Each report is what `ctest --output-junit` wrote. Prints every skipped test with its reason and every
failed one, then the line `N passed, M failed, K skipped`. Exits with 1 after any failure, which
includes a run that left no report and one without a test.
"""

import re
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path
from typing import List, NamedTuple

# What CTest says of a test that chose to be skipped. Any other test that didn't run is a failure:
# its program is missing.
CHOSEN_SKIPS = ('SKIP_REGULAR_EXPRESSION_MATCHED', 'SKIP_RETURN_CODE')
# Of a GoogleTest program: "file.cpp:12: Skipped", the reason on the lines up to the verdict. Of a
# script: "Skipped: " and the reason.
REASONS = (re.compile(r'^\S+: Skipped$\n(.*?)^\[  SKIPPED \]', re.MULTILINE | re.DOTALL),
           re.compile(r'^Skipped: (.*)$', re.MULTILINE))


class Result(NamedTuple):
    name: str
    outcome: str  # passed, failed or skipped
    detail: str  # why it was skipped or failed, on one line


def skip_reason(output: str) -> str:
    output = output.replace('\r\n', '\n')
    found = (reason.search(output) for reason in REASONS)
    told = next((' '.join(match.group(1).split()) for match in found if match), '')
    return told or 'no reason given'


def result_of(case: ElementTree.Element) -> Result:
    name = case.get('name', '?')
    status = case.get('status')
    output = case.findtext('system-out') or ''
    if status == 'run':
        return Result(name, 'passed', '')
    if status == 'disabled':
        return Result(name, 'skipped', 'disabled')
    skipped = case.find('skipped')
    if status == 'notrun' and skipped is not None:
        message = skipped.get('message', '')
        if message.startswith(CHOSEN_SKIPS):
            return Result(name, 'skipped', skip_reason(output))
        return Result(name, 'failed', message or 'did not run')
    failure = case.find('failure')
    message = failure.get('message', '') if failure is not None else ''
    return Result(name, 'failed', message)


def read_report(path: Path) -> List[Result]:
    try:
        cases = ElementTree.parse(path).getroot().findall('testcase')
    except (OSError, ElementTree.ParseError) as error:
        return [Result('the run', 'failed', f'left no report ({error})')]
    if not cases:
        return [Result('the run', 'failed', 'had no tests')]
    return [result_of(case) for case in cases]


def summary(reports: List[str]) -> List[str]:
    """The lines to print, the sum last. Each report is LABEL=PATH."""
    results = []
    for report in reports:
        label, path = report.split('=', 1)
        results.extend((label, result) for result in read_report(Path(path)))
    lines = []
    for outcome in ('skipped', 'failed'):
        for label, result in results:
            if result.outcome == outcome:
                detail = f': {result.detail}' if result.detail else ''
                lines.append(f'{outcome} ({label}): {result.name}{detail}')
    count = {outcome: sum(result.outcome == outcome for _, result in results)
             for outcome in ('passed', 'failed', 'skipped')}
    lines.append(f'{count["passed"]} passed, {count["failed"]} failed, {count["skipped"]} skipped')
    return lines


def main() -> int:
    lines = summary(sys.argv[1:])
    print('\n'.join(lines))
    return 0 if ', 0 failed, ' in lines[-1] and not lines[-1].startswith('0 passed') else 1


if __name__ == '__main__':
    sys.exit(main())
