"""An agent and all around it, for clients of other kinds, until somebody ends it."""

import json
import signal
import sys
import time

import whole_migration
from installer import host_of
from narrator import StepFailed
from world import ADMINISTRATOR, APPLIANCE


def run(world, interactive):
    whole_migration.start_surroundings(world)
    narrator = world.narrator
    with whole_migration.serving_agent(world, interactive) as (agent, status):
        announce(world, status, agent)
        narrator.step('Serving until Ctrl+C')
        with narrator.timed('serve'):
            wait_for_the_end(agent)
        with narrator.timed('end the agent'):
            code = agent.end()
            if code != 0:
                raise StepFailed(f'the agent has ended with exit code {code}')


def announce(world, status, agent):
    """One line on standard output, which has nothing else on it."""
    facts = world.appliance.facts
    sys.stdout.write(json.dumps({
        'host': host_of(status), 'port': int(status['port']), 'thumbprint': status['thumbprint'],
        'user': ADMINISTRATOR, 'password': world.password, 'instance': str(world.machine.folder),
        'pid': agent.pid,
        'ssh': {'server': APPLIANCE, 'folder': facts['folder'], 'user': facts['user'],
                'password': world.ssh_password, 'thumbprint': facts['thumbprints']['rsa'],
                'root': facts['root']}}) + '\n')
    sys.stdout.flush()


def wait_for_the_end(agent):
    """Until Ctrl+C, SIGTERM, or the agent's own end, which a client may bring about."""
    asked = []
    for number in (signal.SIGINT, signal.SIGTERM):
        signal.signal(number, lambda *_: asked.append(True))
    while not asked and not agent.has_ended():
        time.sleep(0.1)
