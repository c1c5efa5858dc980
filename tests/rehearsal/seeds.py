"""Programs that try seeds: on the command line, one after the other, and what came of them."""

import argparse
import re
import sys
import time
import traceback


def seeds_of(text):
    """"7" or "0-199" as the numbers of a range."""
    match = re.fullmatch(r'(\d+)(?:-(\d+))?', text)
    if not match:
        raise argparse.ArgumentTypeError(f'"{text}" is no range such as 0-199')
    return range(int(match[1]), int(match[2] or match[1]) + 1)


def held(name, run, clean_up):
    """Whether run() held, which is said with the outcome that it returns. After a failure clean_up() is
    called, and may tell more."""
    started = time.monotonic()
    try:
        outcome = run()
    except Exception:  # pylint: disable=broad-except; whatever it is, the next seed is looked at
        print(f'FAILED  {time.monotonic() - started:5.1f} s  {name}')
        traceback.print_exc(file=sys.stdout)
        clean_up()
        sys.stdout.flush()
        return False
    print(f'ok      {time.monotonic() - started:5.1f} s  {name}: {outcome}', flush=True)
    return True


def exit_code_of(seeds, failures):
    """Says how many held."""
    print(f'{len(seeds) - len(failures)} of {len(seeds)} held'
          + (f'; failed: {failures}' if failures else ''))
    return 1 if failures else 0
