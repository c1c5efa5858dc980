"""Seeds on a command line."""

import argparse
import re


def seeds_of(text):
    """"7" or "0-199" as the numbers of a range."""
    match = re.fullmatch(r'(\d+)(?:-(\d+))?', text)
    if not match:
        raise argparse.ArgumentTypeError(f'"{text}" is no range such as 0-199')
    return range(int(match[1]), int(match[2] or match[1]) + 1)
