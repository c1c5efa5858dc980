"""The upgrade runner of a lab machine: plays the prechecks and the export of a migration.

  UpgradeRunner.py --mode=requirements|export [--silent] --configFile=FILE --logDir=FOLDER
                   --locale=LOCALE --outputFile=FILE

It takes what the agent gives it at its word and nothing else: a command line or an input file of
another form is refused. What it plays stands in the machine's description (HALVARD_LAB), under
"upgradeRunner".
"""

import sys

# The folder is removed when the agent ends; nothing of ours is to be added to it.
sys.dont_write_bytecode = True

import command_line  # noqa: E402
import data_export  # noqa: E402
import input_document  # noqa: E402
import mishaps  # noqa: E402
import requirements  # noqa: E402
from machine import Machine  # noqa: E402
from output_file import OutputFile  # noqa: E402
from runner_log import RunnerLog  # noqa: E402

PHASES = {'requirements': requirements, 'export': data_export}
EXIT_REFUSED = 2


def run(arguments):
    machine = Machine.of_environment()
    options = command_line.parse(arguments)
    log = RunnerLog(options.log_dir)
    phase = PHASES[options.mode]
    scenario = machine.scenario(options.mode)
    output = OutputFile(options.output_file, scenario)
    try:
        document = input_document.read(options.config_file, options.mode)
    except input_document.WrongInput as fault:
        log.write(f'Refused the input file: {fault}')
        output.write(phase.refusal(str(fault)))
        return EXIT_REFUSED
    log.write(f'Phase {options.mode} for a migration of type {document.type}, '
              f'version {document.version}, locale {options.locale}')
    if scenario.get('grandchild'):
        mishaps.leave_grandchild(machine)
    if scenario.get('hangs') == 'beforeOutput':
        mishaps.hang()
    code = phase.run(machine, scenario, options, document, output, log)
    if scenario.get('hangs') == 'afterOutput':
        mishaps.hang()
    return scenario.get('exitCode', code)


def main():
    try:
        code = run(sys.argv[1:])
    except command_line.WrongArguments as fault:
        print(f'UpgradeRunner: {fault}', file=sys.stderr)
        code = EXIT_REFUSED
    mishaps.end(code)


if __name__ == '__main__':
    main()
