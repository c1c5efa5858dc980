"""A migration in which something goes wrong: it has to end as it should."""

import contextlib

import checks
import installer
import whole_migration
from faults import Fault, Incident
from narrator import StepFailed
from processes import Agent

FAILURE = -1
BUNDLE_MESSAGE = 1162
SECOND_INSTANCE_MESSAGE = 1046


def run(world, fault):
    if isinstance(fault, Incident):
        run_incident(world, fault)
        return
    fault.prepare(world)
    whole_migration.start_surroundings(world)
    if isinstance(fault, Fault):
        run_failing_start(world, fault)
    else:
        run_failing_migration(world, fault)


def run_failing_start(world, fault):
    narrator = world.narrator
    fault.spoil(world)
    narrator.step(f'Starting the agent, which has to fail: {fault.summary}')
    with contextlib.closing(Agent(world, fault.agent_password)) as agent:
        narrator.check('end of the agent', checks.agent_ended, agent, FAILURE)
        narrator.check('console', console_shows, world, fault, agent.console)
        narrator.check('status file', status_tells, world, fault)
        narrator.check('end of the old machine', checks.machine_stays_up, world)
        narrator.check('nothing left behind', checks.nothing_left_behind, world)
        narrator.check('no password anywhere', checks.no_password_anywhere, world, agent.console)


def console_shows(world, fault, console):
    wanted = fault.console(world)
    if fault.error:
        # Behind a failure the logs lie on the desktop.
        bundle = next(world.machine.drive.rglob('Ostrel-HV-logs-*.zip'), None)
        checks.expect(bundle is not None, 'there is no bundle of logs')
        path = 'C:\\' + str(bundle.relative_to(world.machine.drive)).replace('/', '\\')
        wanted = [*wanted, world.messages.text(BUNDLE_MESSAGE, path)]
    for text in wanted:
        checks.expect(text in console, f'expected "{text}"')
    return ' / '.join(text.replace('\n', ' ')[:60] for text in wanted)


def status_tells(world, fault):
    status = world.machine.status()
    if fault.error is None:
        checks.expect_equal(status, None, 'status file')
        return 'none'
    checks.expect(status is not None, 'there is no status file')
    checks.expect_equal((status['initialization'], status['error']), ('fail', fault.error(world)),
                        'status file')
    return f'fail, "{status["error"][:60]}"'


def run_failing_migration(world, fault):
    narrator = world.narrator
    with whole_migration.serving_agent(world) as (agent, status):
        narrator.step(f'Migrating, which has to fail: {fault.summary}')
        code, output = installer.migrate(world, status, fault.thumbprint, fault.ssh_password,
                                         fault.answers)
        narrator.check('end of the client', client_tells, world, fault, code, output)
        narrator.check('log', log_tells, world, fault)
        narrator.check('services', checks.services_are, world, fault.services)
        narrator.check('end of the old machine', checks.machine_stays_up, world)
        if fault.goes_on:
            finish(world, fault, status, agent, output)
            return
        if not fault.agent_ends:
            narrator.check('status file', checks.status_of_a_good_start, world, status)
            agent.end()
        narrator.check('end of the agent', checks.agent_ended, agent, 0)
        narrator.check('nothing left behind', checks.nothing_left_behind, world)
        narrator.check('no password anywhere', checks.no_password_anywhere, world, agent.console,
                       output)


def client_tells(world, fault, code, output):
    checks.expect_equal(code, fault.exit_code, 'exit code')
    text = fault.text(world)
    checks.expect(text in output, f'expected "{text}"')
    return f'exit code {code}, "{text.splitlines()[0][:60]}"'


def log_tells(world, fault):
    checks.expect(fault.log in world.machine.log(), f'expected a line with "{fault.log}"')
    return f'"{fault.log}"' if fault.log else 'nothing in particular'


def finish(world, fault, status, agent, first_output):
    """The same migration again, with what was wrong before put right."""
    narrator = world.narrator
    narrator.step('Migrating once more; it goes on where it was')
    with narrator.timed('migrate once more'):
        code, output = installer.migrate(world, status)
        if code != 0:
            raise StepFailed(f'hvctl migrate has ended with exit code {code}')
        if fault.goes_on not in output:
            raise StepFailed('the export was made anew')
    narrator.check('end of the agent', checks.agent_ended, agent, 0)
    whole_migration.check_outcome(world, status, agent.console, first_output, output)


def run_incident(world, incident):
    whole_migration.start_surroundings(world)
    with whole_migration.serving_agent(world) as (agent, status):
        world.narrator.step(incident.summary.capitalize())
        if incident.name == 'second-instance':
            start_second(world)
            migrate_all_the_same(world, agent, status, incident)
        else:
            kill_and_start_again(world, agent, incident)


def start_second(world):
    with contextlib.closing(Agent(world)) as second:
        world.narrator.check('end of the second agent', checks.agent_ended, second, FAILURE)
        world.narrator.check('console of the second agent', shows, second.console,
                             world.messages.text(SECOND_INSTANCE_MESSAGE))


def shows(console, text):
    checks.expect(text in console, f'expected "{text}"')
    return f'"{text[:60]}"'


def kill_and_start_again(world, agent, incident):
    world.lost_openings = world.machine.agents_openings()
    agent.kill()
    world.narrator.check('what a killed agent leaves', leaves_its_runner, world)
    # The file of the killed one would be taken for that of the next.
    world.machine.find('hv-status.json').unlink()
    with contextlib.closing(Agent(world)) as again:
        with world.narrator.timed('start the agent again'):
            status = again.wait_until_it_serves()
        world.narrator.check('firewall', checks.firewall_is_open, world, status)
        migrate_all_the_same(world, again, status, incident)


def leaves_its_runner(world):
    checks.expect(world.machine.extraction_folder.exists(), 'its runner\'s folder is gone')
    checks.expect(world.lost_openings, 'its opening in the firewall is gone')
    return 'its runner\'s folder and its opening in the firewall'


def migrate_all_the_same(world, agent, status, incident):
    narrator = world.narrator
    narrator.step('Migrating')
    with narrator.timed('migrate'):
        code, output = installer.migrate(world, status)
        if code != 0:
            raise StepFailed(f'hvctl migrate has ended with exit code {code}')
    narrator.check('end of the agent', checks.agent_ended, agent, 0)
    # A second instance deletes the status file before it knows that it is one.
    remains = None if incident.name == 'second-instance' else status
    whole_migration.check_outcome(world, remains, agent.console, output)
