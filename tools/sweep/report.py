"""What a sweep tells: a line for each combination, then what is wrong, then sums."""

import json
from collections import Counter


def describe(combination):
    site = combination.site
    when = f'call {combination.call} of {site.calls}'
    if combination.mode == 'on':
        when += ' and all later ones'
    way = ' < '.join(site.frames[:4]) or 'a place in no source of the agent'
    return f'{site.function} fails with {combination.code:#x}, {when}, at {way}'


class Report:
    """\\param folder: where results.jsonl and report.txt go; None for nowhere."""

    def __init__(self, stream, folder):
        self._stream = stream
        self._results = open(folder / 'results.jsonl', 'a', encoding='utf-8') if folder else None
        self._kinds = Counter()
        self._wrong = []
        self._functions = set()
        self._places = set()

    def line(self, text):
        self._stream.write(text + '\n')
        self._stream.flush()

    def census(self, scenario, sites, combinations):
        functions = {site.function for site in sites}
        places = {(site.function, site.place) for site in sites}
        self.line(f'{scenario}: {len(functions)} functions, {len(places)} places of calls, '
                  f'{len(sites)} ways to them, {sum(site.calls for site in sites)} calls; '
                  f'{len(combinations)} combinations')

    def result(self, combination, verdict, seconds):
        self._kinds[verdict.kind] += 1
        self._functions.add(combination.site.function)
        self._places.add((combination.site.function, combination.site.place))
        self.line(f'{verdict.kind:<28} {seconds:5.1f} s  {combination.name}  '
                  f'{describe(combination)}')
        if verdict.faults:
            self._wrong.append((combination, verdict))
        if self._results:
            self._results.write(json.dumps({
                'name': combination.name, 'kind': verdict.kind, 'faults': verdict.faults,
                'told': verdict.told, 'what': describe(combination)}) + '\n')
            self._results.flush()

    def sums(self):
        for combination, verdict in self._wrong:
            self.line(f'\n{combination.name}\n  {describe(combination)}')
            for fault in verdict.faults:
                self.line(f'  {fault}')
            for text in verdict.told[:8]:
                self.line(f'    told {text[:200]}')
        self.line('')
        for kind, count in sorted(self._kinds.items(), key=lambda entry: -entry[1]):
            self.line(f'{count:7}  {kind}')
        self.line(f'{sum(self._kinds.values()):7}  in all: {len(self._functions)} functions at '
                  f'{len(self._places)} places')

    def all_is_well(self):
        return not self._wrong and bool(self._kinds)
