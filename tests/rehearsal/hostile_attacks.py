"""What hostile servers and files are tried with: what lies, who asks, and how that may end."""

import contextlib
import json
from dataclasses import dataclass
from typing import Callable, Optional

from hostile_datagrams import mangled_names, mangled_time
from hostile_tokens import BER_TOKENS, JSON_TOKENS, SOAP_TOKENS, SSH_TOKENS
from lab_machine import files_below
from mangling import REACHES, Mangling, mangled

INFRASTRUCTURE, MANAGEMENT = ('infrastructure', '5.5'), ('management', '5.5')
WRONG_CREDENTIALS, NO_INVENTORY, NO_CONTROLLER, NO_PRECHECKS = 1098, 1087, 1090, 1091
NO_SYSTEM_NAME, NO_TIME, NO_COPY, NO_ANSWER = 1105, 1154, 1076, 1082
MOST_DOCUMENT_BYTES = 1 << 20
# Answers are short; behind them a handshake is hit.
DIRECTORY_REACHES = (1, 8, 16, 32, 64, 2048)


@dataclass
class Attack:
    name: str
    machine: tuple    # type and source
    arm: Callable     # of world and chance: what lies from now on
    ask: Callable     # of scenario: the reply that counts
    errors: tuple     # messages that the reply may have when it isn't a success
    failure: object = 'fail'
    keeps: int = 0                    # handles that stay open by design
    prove: Optional[Callable] = None  # of scenario, in place of asking again, once nothing lies


def mangle_directory(world, chance):
    mangle_line(world.lines['lab-slapd'], chance, chance.random() < 0.7, BER_TOKENS,
                DIRECTORY_REACHES)


def mangle_server(world, chance):
    mangle_line(world.lines['kelvane-server'], chance, chance.random() < 0.7, SOAP_TOKENS)


def mangle_appliance(world, chance):
    mangle_line(world.lines['lab-sshd'], chance, False, SSH_TOKENS)


def replace_appliance(world, chance):
    world.replace_appliance(chance)


def mangle_line(line, chance, inside, tokens, reaches=REACHES):
    """All connections to the server, or one of them, inside of their TLS or below it."""
    only = chance.choice((None, None, 0, 1, 2))
    line.arm(lambda number: (Mangling(chance, tokens, reaches=reaches), inside)
             if only in (None, number) else None)


def mangle_names(world, chance):
    world.names.arm(lambda answer: mangled_names(chance, answer))


def mangle_time(world, chance):
    world.time.arm(lambda answer: mangled_time(chance, answer))


def mangle_copy(world, chance):
    world.scp_seed.write_text(str(chance.randrange(1 << 32)), encoding='ascii')


def order_documents(world, chance, originals):
    """Some of them, each mangled in its own way, and any exit code."""
    documents = [mangled(chance, json.dumps(original, indent=1).encode(), tokens=JSON_TOKENS,
                         reaches=REACHES[2:])[:MOST_DOCUMENT_BYTES] for original in originals]
    world.order_runner(documents, chance.choice((0, 0, 1, 2, 255)))


def mangle_findings(world, chance):
    order_documents(world, chance, [FINDINGS] * chance.choice((0, 1, 1, 1, 3)))


def mangle_export(world, chance):
    originals = [ASKING] * chance.choice((1, 2, 4)) + [ENDED] * chance.choice((0, 1))
    order_documents(world, chance, originals)


def copy_logs(scenario):
    return scenario.call('copy_logs_directory', **scenario.target())


def run_prechecks(scenario):
    return scenario.call('invoke_pre_upgrade')


def export(scenario):
    """The answer to the question that there may be; whatever is polled goes to the client as it is."""
    scenario.exports += 1
    started = scenario.call('invoke_export')
    if started != {'result': 'success', 'error': ''}:
        raise AssertionError(f'the export isn\'t started: {started}')
    scenario.call('poll_export_status')
    reply = scenario.call('create_answer_file', answer='yes')
    scenario.await_line('Changed the status of export to: FINISHED')
    scenario.call('poll_export_status')
    return reply


def fail_export(scenario):
    """An export as it should be that fails by plan: behind it credentials are asked of the directory
    again, as before the first one."""
    remove_answers(scenario)
    scenario.world.order_runner([json.dumps({'status': 'error'}).encode()], 1)
    scenario.exports += 1
    scenario.call('invoke_export')
    scenario.await_line('Changing the status of export result to: FAIL')
    scenario.world.tell_the_truth()


def remove_answers(scenario):
    """The runner that has asked would take them away."""
    for path in files_below(scenario.world.machine.drive):
        with contextlib.suppress(ValueError, OSError):
            if set(json.loads(path.read_bytes())) == {'answer', 'reply_to'}:
                path.unlink()


def call_of(operation):
    return lambda scenario: scenario.call(operation)


FINDINGS = [{'name': 'com.ostrel.sso', 'requirements': {
    'coreRequirement': {'requiredSrcDiskSpace': 0.5, 'exportEstimationTime': 10,
                        'importEstimationTime': 15},
    'extraArguments': {'appliance.net.pnid': 'kvsource.corp.example',
                       'sso.cert.ipaddresses': '192.0.2.10,fe80::1',
                       'sso.cert.dnsnames': 'kvsource.corp.example,*.corp.example'},
    'requirementMismatchSpecs': [{'severity': 'WARNING', 'description': {'localized': 'Old.'},
                                  'resolution': {'localized': 'Renew.'}}]}}]
ASKING = {'status': 'running', 'progress': 40, 'progressMessage': {'localized': 'Waiting'},
          'question': {'id': 'keep', 'text': {'localized': 'Keep?'}, 'choices': ['yes', 'no'],
                       'default': 'yes', 'reply_file': 'keep.json'}}
ENDED = {'status': 'success', 'progress': 100, 'exported': {'folder': 'C:\\x', 'files': 1, 'bytes': 2}}

ATTACKS = (
    Attack('directory that logs in', INFRASTRUCTURE, mangle_directory,
           call_of('get_source_deployment_type'), (WRONG_CREDENTIALS,)),
    Attack('directory that tells its version', MANAGEMENT, mangle_directory,
           call_of('get_cached_pre_upgrade_result'), (NO_CONTROLLER,)),
    Attack('Kelvane Server', MANAGEMENT, mangle_server, call_of('get_cached_pre_upgrade_result'),
           (WRONG_CREDENTIALS, NO_INVENTORY, NO_CONTROLLER)),
    Attack('names of time servers', INFRASTRUCTURE, mangle_names,
           call_of('collect_network_config'), (NO_TIME,)),
    Attack('time server', INFRASTRUCTURE, mangle_time, call_of('collect_network_config'),
           (NO_TIME,)),
    Attack('appliance', INFRASTRUCTURE, mangle_appliance, copy_logs, (NO_COPY,), NO_COPY),
    Attack('appliance inside', INFRASTRUCTURE, replace_appliance, copy_logs, (NO_COPY,), NO_COPY),
    Attack('appliance\'s program', INFRASTRUCTURE, mangle_copy, copy_logs, (NO_COPY,), NO_COPY),
    Attack('name of the appliance', INFRASTRUCTURE, mangle_names, copy_logs, (NO_COPY,), NO_COPY),
    Attack('name of the machine', INFRASTRUCTURE, mangle_names, run_prechecks, (NO_SYSTEM_NAME,)),
    Attack('findings', INFRASTRUCTURE, mangle_findings, run_prechecks,
           (NO_PRECHECKS, NO_SYSTEM_NAME)),
    Attack('export', INFRASTRUCTURE, mangle_export, export, (NO_ANSWER,), keeps=4,
           prove=fail_export),
)
