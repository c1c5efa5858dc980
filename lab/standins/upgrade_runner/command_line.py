"""The runner's command line."""

import os
from typing import NamedTuple

MODES = ('requirements', 'export')
NAMES = ('mode', 'configFile', 'logDir', 'locale', 'outputFile')


class WrongArguments(Exception):
    """The arguments aren't those that the agent gives. Its text names the one."""


class Options(NamedTuple):
    mode: str
    silent: bool  # ask no questions
    config_file: str
    log_dir: str
    locale: str
    output_file: str


def parse(arguments):
    values = {}
    silent = False
    for argument in arguments:
        name, equals, value = argument.partition('=')
        if argument == '--silent' and not silent:
            silent = True
        elif name[2:] not in NAMES or not name.startswith('--') or not equals:
            raise WrongArguments(f'unknown argument {argument}')
        elif name[2:] in values:
            raise WrongArguments(f'{name} is given twice')
        else:
            values[name[2:]] = value
    for name in NAMES:
        if not values.get(name):
            raise WrongArguments(f'--{name} is missing')
    if values['mode'] not in MODES:
        raise WrongArguments(f'--mode={values["mode"]} is none of {", ".join(MODES)}')
    if silent and values['mode'] != 'export':
        raise WrongArguments('--silent is for the export alone')
    for name in ('configFile', 'outputFile', 'logDir'):
        if not os.path.isabs(values[name]):
            raise WrongArguments(f'--{name}={values[name]} is no absolute path')
    return Options(values['mode'], silent, values['configFile'], values['logDir'],
                   values['locale'], values['outputFile'])
