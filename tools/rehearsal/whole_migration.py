"""A migration from the agent's start to the end of the old machine, each step looked at."""

import contextlib

import checks
import installer
from narrator import StepFailed
from processes import Agent
from world import ADMINISTRATOR


def start_surroundings(world):
    narrator = world.narrator
    settings = world.settings
    narrator.step(f'Starting {settings.machine} in {world.machine.folder}, and what is around it')
    if settings.type != 'infrastructure':
        with narrator.timed('start the Kelvane Server'):
            narrator.line(f'Kelvane Server: {world.start_server()}')
    if settings.type != 'embedded':
        with narrator.timed('start the directory'):
            narrator.line(f'Directory: {world.start_directory()}')
    with narrator.timed('start the appliance'):
        narrator.line(f'Appliance: {world.start_appliance()}')
    world.describe_machine()


@contextlib.contextmanager
def serving_agent(world, interactive=False):
    """An agent that serves, and its status file. Ended behind it, whatever state it is in."""
    narrator = world.narrator
    narrator.step('Starting the agent')
    if interactive:
        narrator.line(f'The password of {ADMINISTRATOR} is {world.password}')
    agent = Agent(world, at_terminal=interactive)
    try:
        with narrator.timed('start the agent'):
            status = agent.wait_until_it_serves()
        yield agent, status
    finally:
        agent.close()


def run(world, interactive):
    start_surroundings(world)
    narrator = world.narrator
    with serving_agent(world, interactive) as (agent, status):
        narrator.check('status file', checks.status_of_a_good_start, world, status)
        narrator.check('firewall', checks.firewall_is_open, world, status)
        narrator.step('Migrating, as the installer of the appliance does')
        with narrator.timed('migrate'):
            code, output = installer.migrate(world, status)
            if code != 0:
                raise StepFailed(f'hvctl migrate has ended with exit code {code}')
        narrator.step('Looking at what there is now')
        narrator.check('end of the agent', checks.agent_ended, agent, 0)
        check_outcome(world, status, agent.console, output)


def check_outcome(world, status, *outputs):
    check = world.narrator.check
    check('end of the old machine', checks.machine_shuts_down, world)
    check('export on the appliance', checks.export_arrived, world)
    check('logs on the appliance', checks.logs_arrived, world)
    check('status file at the end', checks.status_of_a_good_start, world, status)
    check('services', checks.services_are, world, 'stopped')
    check('nothing left behind', checks.nothing_left_behind, world)
    check('no password anywhere', checks.no_password_anywhere, world, *outputs)
    if world.server:
        world.end()
        check('sessions of the Kelvane Server', checks.sessions_are_closed, world)
