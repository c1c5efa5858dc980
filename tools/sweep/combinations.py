"""Which failures are tried: function, place of the call, which of its calls, with which code, once or
from then on."""

import random
from dataclasses import dataclass

# pylint: disable=import-error
from call_sites import CallSite
from error_codes import NOT_FOREVER, codes_of

ONCE, FROM_THEN_ON = 'once', 'on'


@dataclass
class Combination:
    scenario: str
    site: CallSite
    call: int      # of those from the site, from 1
    code: int
    mode: str

    @property
    def name(self):
        """The same in each run with the same program."""
        return (f'{self.scenario}/{self.site.function}/{self.site.number}/{self.call}/'
                f'{self.code:#x}/{self.mode}')

    def fault(self):
        """As a machine's description plans it."""
        return {'function': self.site.function, 'site': self.site.address, 'error': self.code,
                'call' if self.mode == ONCE else 'from': self.call}


def calls_of(site):
    """A loop makes equal calls: the first and the last of a place stand for all."""
    return (1,) if site.calls == 1 else (1, site.calls)


def modes_of(function, code):
    return (ONCE,) if (function, code) in NOT_FOREVER else (ONCE, FROM_THEN_ON)


def combinations_of(scenario, sites):
    """All of a scenario, in the order of the calls."""
    return [Combination(scenario, site, call, code, mode)
            for site in sites for call in calls_of(site) for code in codes_of(site.function)
            for mode in modes_of(site.function, code)]


def one_of_each_call(combinations):
    """The first code of a call, once: the ways through the agent without their repetitions."""
    first = {}
    for combination in combinations:
        first.setdefault((combination.site.function, combination.site.number, combination.call),
                         combination)
    return list(first.values())


def sample(combinations, count, seed):
    """So many of them, from as many places as can be, functions that are called from few of them not
    behind the others."""
    chance = random.Random(seed)
    by_function = {}
    for combination in chance.sample(combinations, len(combinations)):
        by_function.setdefault(combination.site.function, []).append(combination)
    chosen, places = [], set()
    while len(chosen) < count and any(by_function.values()):
        for function in sorted(by_function, key=lambda _: chance.random()):
            left = by_function[function]
            pick = next((c for c in left if (function, c.site.place) not in places),
                        left[0] if left else None)
            if pick is None or len(chosen) == count:
                continue
            left.remove(pick)
            places.add((function, pick.site.place))
            chosen.append(pick)
    return chosen
