"""What the agent is put through: each scenario is a machine and what is done with the agent on it."""

import contextlib
import time
from dataclasses import dataclass, field
from typing import Callable

# pylint: disable=import-error
from agent_run import AgentRun, Hang, listener, wait_until
from api_client import Client
from world import ADMINISTRATOR, APPLIANCE, QUESTION

# Nothing that the agent waits for takes so long with the clock of these machines.
START_SECONDS = 120
EXPORT_SECONDS = 20
POLL_SECONDS = 0.03
# Polls of an export whose runner is gone, before nobody expects an end of it any more.
LAST_POLLS = 10
ENDED_EXPORTS = ('success', 'error')
SERVICE_PASSWORD = 'Svc-5d0e1f2a3b4c'
DOMAIN_PASSWORD = 'Dom-6a7b8c9d0e1f'
SECRETS = (SERVICE_PASSWORD, DOMAIN_PASSWORD)

MEMBER_OF_A_DOMAIN = {
    'domain': {'name': 'corp.example', 'netbiosName': 'CORP',
               'controller': {'name': 'dc1.corp.example', 'address': '192.0.2.53'}},
    'accounts': {'CORP\\joiner': {'password': DOMAIN_PASSWORD}}}
FAILING_EXPORT = {'upgradeRunner': {'export': {'status': 'error'}}}
FINDING = {'text': 'The server is too old.', 'resolution': 'Update it.'}


@dataclass
class Scenario:
    name: str
    summary: str
    act: Callable                    # of the world and the session
    type: str = 'embedded'
    source: str = '5.5'
    patch: dict = field(default_factory=dict)
    copies: bool = False             # to the appliance
    skips_start: bool = False        # the calls of its start fail in another scenario
    is_alone: bool = False           # its agent looks for a port itself, as one beside it would


@dataclass
class Session:
    """One agent, and what its client was answered."""
    agent: AgentRun = None
    replies: list = field(default_factory=list)
    hang: str = ''


def start_and_stop(world, session, arguments=()):
    session.agent = AgentRun(world, ['--admin_password', world.password, *arguments])
    stop_once_it_serves(session)


def start_with_service_account(world, session):
    start_and_stop(world, session, ['--kv_sa_password', SERVICE_PASSWORD])


def start_at_prompts(world, session):
    session.agent = AgentRun(world, [], {
        f'Enter {ADMINISTRATOR} password: ': world.password + '\r',
        'Enter a directory to export your data and configuration: ': 'C:\\ProgramData\r',
        'Enter a value between 1 and ': '1\r',
        'Press Enter key to ': '\r'})
    stop_once_it_serves(session)


def stop_once_it_serves(session):
    if session.agent.wait_until_it_serves(START_SECONDS):
        session.agent.interrupt()


def migrate(world, session):
    agent = session.agent = AgentRun(world, ['--admin_password', world.password])
    if not agent.wait_until_it_serves(START_SECONDS):
        return
    client = Client(listener(agent.port), agent.port, ADMINISTRATOR, world.password)
    session.replies = client.replies
    # Whoever gets no answer asks nothing else; that there was none is seen in the replies.
    with contextlib.suppress(OSError):
        ask_for_everything(world, client)
    # A shutdown that was refused or didn't come leaves an agent that its operator ends.
    with contextlib.suppress(Hang):
        wait_until(agent.has_ended, 2, 'the shutdown')
    agent.interrupt()


def ask_for_everything(world, client):
    for operation in ('get_source_deployment_type', 'invoke_pre_upgrade',
                      'get_cached_pre_upgrade_result', 'collect_active_directory_config',
                      'collect_network_config'):
        client.call(operation)
    client.call('validate_active_directory_credentials', ad_username='joiner',
                ad_password=DOMAIN_PASSWORD)
    if client.call('invoke_export')['result'] == 'success':
        follow_export(world, client)
    target = target_of(world)
    client.call('copy_export_data', **target)
    client.call('copy_logs_directory', **target)
    client.call('shutdown_machine')


def target_of(world):
    facts = world.appliance.facts
    return {'ssh_server': APPLIANCE, 'ssh_folder': facts['folder'], 'ssh_user': facts['user'],
            'ssh_password': world.ssh_password, 'ssh_thumbprint': {'rsa': facts['thumbprints']['rsa']}}


def follow_export(world, client):
    """Polls until the export has ended, or nothing can be expected of it."""
    answered = False
    polls_without_runner = 0
    deadline = time.monotonic() + EXPORT_SECONDS
    while time.monotonic() < deadline:
        document = client.call('poll_export_status') or {}
        if document.get('status') in ENDED_EXPORTS:
            break
        if document.get('question') and not answered:
            answered = client.call('create_answer_file',
                                   answer=QUESTION['expected'])['result'] == 'success'
        runs = any(name.startswith('python') for name in world.machine.processes().values())
        polls_without_runner = 0 if runs else polls_without_runner + 1
        if polls_without_runner > LAST_POLLS:
            break
        time.sleep(POLL_SECONDS)
    # The runner's last word comes before the agent's own.
    with contextlib.suppress(Hang):
        wait_until(lambda: 'Changing the status of export' in world.machine.log(), 2, 'the result')


STARTS = [
    Scenario('start', 'start and stop on a machine with everything', start_and_stop),
    Scenario('start-platform', 'the same, installed by the platform installer', start_and_stop,
             source='platform'),
    Scenario('start-management', 'start and stop beside a controller elsewhere', start_and_stop,
             type='management'),
    Scenario('start-infrastructure', 'start and stop on a controller', start_and_stop,
             type='infrastructure'),
    Scenario('start-account', 'start and stop with a service account', start_with_service_account,
             patch={'services': {'kelvd': {'account': '.\\kelvd-service'}},
                    'accounts': {'KVSOURCE\\kelvd-service': {
                        'password': SERVICE_PASSWORD, 'groups': ['S-1-5-32-544'],
                        'serviceLogon': True}}}),
    Scenario('prompts', 'start at a terminal, and stop', start_at_prompts, is_alone=True),
    Scenario('failing-start', 'a start whose prechecks find an error', start_and_stop,
             patch={'upgradeRunner': {'requirements': {'findings': [FINDING]}}}),
]
MIGRATIONS = [
    Scenario('migration', 'a migration of a machine with everything', migrate, copies=True,
             patch=MEMBER_OF_A_DOMAIN, skips_start=True),
    Scenario('migration-management', 'a migration beside a controller elsewhere', migrate,
             type='management', copies=True, patch=MEMBER_OF_A_DOMAIN, skips_start=True),
    Scenario('migration-infrastructure', 'a migration of a controller of the platform installer',
             migrate, type='infrastructure', source='platform', copies=True,
             patch=MEMBER_OF_A_DOMAIN, skips_start=True),
    Scenario('failing-export', 'a migration whose export fails', migrate, copies=True,
             patch=FAILING_EXPORT, skips_start=True),
    Scenario('failing-export-platform', 'the same, installed by the platform installer', migrate,
             source='platform', copies=True, patch=FAILING_EXPORT, skips_start=True),
]
ALL = STARTS + MIGRATIONS


def named(name):
    return next((scenario for scenario in ALL if scenario.name == name), None)


def listing():
    width = max(len(scenario.name) for scenario in ALL)
    return '\n'.join(f'  {scenario.name:<{width}}  {scenario.summary}' for scenario in ALL)
