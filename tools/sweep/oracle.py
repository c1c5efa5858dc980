"""Whether a run in which a call has failed ended as it may."""

import re
from collections import Counter
from dataclasses import dataclass, field

# pylint: disable=import-error
import by_design

STOPPED, FAILED = 0, 255
TOLD_LEVELS = ('W', 'E')
# Some failures are told at level info.
FAILURE = re.compile('fail|unable|error', re.IGNORECASE)


@dataclass
class Verdict:
    kind: str                    # one word for the report's sums
    faults: list = field(default_factory=list)   # what is wrong, in words
    told: list = field(default_factory=list)     # lines that a run without a failure lacks


def new_lines(seen, usual):
    """What the log and the console tell beyond a run in which nothing fails."""
    log = seen.log - usual.log
    told = [f'{level}: {text}' for level, text in log
            if (level in TOLD_LEVELS or (level == 'I' and FAILURE.search(text)))
            and not text.startswith(by_design.BY_CHANCE)]
    told += [f'console: {text}' for text in seen.console - usual.console]
    told += [f'reply: {operation}: {outcome}' for operation, outcome in seen.replies
             if (operation, outcome) not in usual.replies]
    return told


def was_ended_by_key(seen, function):
    return by_design.ENDED_BY_KEY.get(function, STOPPED) == seen.exit_code != STOPPED


def waits_at_a_prompt(seen, usual, function):
    """Whether the operator was asked without a word, and so gave no answer."""
    return (seen.hang and function in by_design.ASKS_WITHOUT_A_WORD
            and any(line.startswith(by_design.PROMPT) for line in usual.console - seen.console))


def end_faults(seen):
    if seen.hang:
        yield f'HANG: {seen.hang}'
    elif seen.exit_code not in (STOPPED, FAILED):
        yield f'CRASH: exit code {seen.exit_code}'
    elif seen.census is None:
        yield 'CRASH: an end without a census'
    if seen.errors.strip():
        yield f'CRASH: standard error: {seen.errors.strip()[:2000]}'


def status_faults(seen):
    if seen.status is None or seen.hang:
        return
    expected = 'success' if seen.exit_code == STOPPED else 'fail'
    if seen.status.get('initialization') != expected:
        yield f'STATUS: {seen.status} with exit code {seen.exit_code}'
    elif expected == 'fail' and not seen.status.get('error'):
        yield 'STATUS: a failure without its error'


def export_runs_on(seen):
    """Whether the agent was interrupted during an export."""
    changes = [count for (_, text), count in seen.log.items()
               if 'Changed the status of export to' in text]
    return sum(changes) % 2 == 1


def lines_of(seen, *beginnings):
    return sum(count for (_, text), count in seen.log.items() if text.startswith(beginnings))


def services_begun(seen):
    return lines_of(seen, 'StartServices: Starting service')


def scripts_begun(seen):
    return lines_of(seen, 'ServiceControlStartStopAllServices: Starting')


def restart_runs_on(seen):
    """Whether the agent has ended while it started the services again that a failed export had
    stopped, one by one or by their script: nobody waits for that."""
    ended = lines_of(seen, 'StartServices: Successfully started service',
                     'StartServices: Failed to start service')
    launched = lines_of(seen, 'LaunchProcAndMonitorStatus: Launching')
    cleaned = lines_of(seen, 'LaunchProcAndMonitorStatus: Job still alive, terminating')
    return services_begun(seen) > ended or (scripts_begun(seen) > 0 and launched > cleaned)


def restart_ran_at_the_census(seen, usual):
    """The same where it has come to its end in the moments between the census and the agent's end."""
    began = services_begun(seen) or scripts_begun(seen)
    return began and seen.census['threads'] > usual.census['threads']


def held_faults(seen, usual, function):
    if seen.census is None:
        return
    held = Counter(seen.census['handles']) - Counter(usual.census['handles'])
    excused = by_design.KEPT.get(function, ())
    if export_runs_on(seen):
        excused += by_design.OF_AN_EXPORT_HANDLES
    if restart_runs_on(seen) or restart_ran_at_the_census(seen, usual):
        excused += by_design.OF_A_RESTART_HANDLES
    leaks = {kind: count for kind, count in held.items() if kind not in excused}
    if leaks:
        yield f'LEAK: handles {leaks}'
    for kind in ('objects', 'sockets'):
        if seen.census[kind] > usual.census[kind] and kind not in excused:
            yield f'LEAK: {kind} {seen.census[kind] - usual.census[kind]}'


def remains_faults(seen, usual_files, function):
    runs_on = export_runs_on(seen)
    if seen.processes and not runs_on and not restart_runs_on(seen):
        yield f'PROCESSES: {seen.processes}'
    left = [name for name in sorted(seen.files - usual_files)
            if not by_design.may_be_left(name, function, runs_on)]
    if left:
        yield f'FILES: {left[:6]}'
    shown = [place for place in seen.secrets
             if not by_design.may_be_left(place, function, runs_on)]
    if shown:
        yield f'SECRET: {shown}'


def answer_faults(seen):
    for operation, outcome in seen.replies:
        if outcome.startswith('NO ANSWER'):
            yield f'ANSWER: {operation}: {outcome}'


def judge(seen, usual, usual_files, site):
    """\\param usual: the same scenario without a failure. \\param usual_files: what may be there,
    behind a start that succeeds and behind one that fails."""
    told = new_lines(seen, usual)
    if was_ended_by_key(seen, site.function):
        return Verdict('ended', [], told)
    if waits_at_a_prompt(seen, usual, site.function):
        return Verdict('waits at a prompt', [], told)
    faults = [*end_faults(seen), *status_faults(seen), *held_faults(seen, usual, site.function),
              *remains_faults(seen, usual_files, site.function), *answer_faults(seen)]
    fired = seen.census is None or seen.census['failures'] > 0
    if fired and not told and not by_design.is_silent(site):
        faults.append('SILENT: nobody is told')
    if faults:
        kind = faults[0].split(':')[0].lower()
    elif not fired:
        kind = 'not reached'
    elif seen.exit_code == FAILED and usual.exit_code == STOPPED:
        kind = 'ended'
    else:
        kind = 'went on, told' if told else 'went on, silent by design'
    return Verdict(kind, faults, told)
