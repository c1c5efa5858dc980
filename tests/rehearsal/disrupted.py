"""Migrations that are killed and cut: each seed chooses a moment and what happens there. Whatever has
come of it, a migration behind it is whole.

    disrupted.py PROGRAMS --seeds 0-199
"""

import argparse
import io
import shutil
import signal
import sys
import tempfile
import time
from pathlib import Path

import programs

FOLDER = programs.take_folder()
sys.path.insert(0, str(programs.TREE / 'tools' / 'rehearsal'))

import checks  # noqa: E402
import installer  # noqa: E402
from disrupted_world import DisruptedWorld, have_own_mounts  # noqa: E402
from disruptions import Disruption, Saboteur  # noqa: E402
from narrator import Narrator, StepFailed  # noqa: E402
from processes import Agent, PATIENCE_SECONDS  # noqa: E402
from seeds import exit_code_of, held, seeds_of  # noqa: E402

ENDS = (0, 255)  # the exit codes of an agent that nobody kills
IMPATIENCE_SECONDS = 10
INTERRUPTED = None
WHOLE = 'whole all the same'
UNDISTURBED = 'whole before the moment came'


class DisruptedMigration:
    def __init__(self, seed):
        self.disruption = Disruption(seed)
        self.folder = Path(tempfile.mkdtemp(prefix='disrupted-'))
        self.shown = io.StringIO()
        self.world = DisruptedWorld(self.disruption, FOLDER, self.folder, Narrator(self.shown))
        self.status = None
        self.links = set()

    def run(self):
        """Returns what has come of the disrupted migration, in a few words."""
        try:
            self.world.start()
            outcome = self.run_disrupted()
            if outcome == UNDISTURBED or outcome == WHOLE and not self.disruption.kills_appliance():
                self.check_whole()
            else:
                self.run_again()
            return outcome
        finally:
            if self.world.agent:
                self.world.agent.kill()
            self.world.end()

    def run_disrupted(self):
        world = self.world
        world.agent = Agent(world)
        saboteur = Saboteur(world, self.disruption)
        saboteur.start()
        try:
            outcome = self.migrate_under_fire(saboteur)
        finally:
            saboteur.end()
        if not saboteur.has_acted and outcome != WHOLE:
            raise StepFailed(f'nothing has happened, and yet: {outcome}')
        return outcome if saboteur.has_acted else UNDISTURBED

    def migrate_under_fire(self, saboteur):
        world = self.world
        try:
            self.status = world.agent.wait_until_it_serves()
            code = self.migrate(world.line_of_client(self.status), saboteur)
        except StepFailed as failure:
            if not world.agent.has_ended():
                raise
            self.check_end_of_agent()
            return str(failure)
        if code == 0:
            if self.check_end_of_agent():
                return 'killed behind the migration'
            checks.agent_ended(world.agent, 0)
            return WHOLE
        return ('hvctl has been interrupted' if code is INTERRUPTED
                else f'hvctl has ended with exit code {code}')

    def migrate(self, status, saboteur=None, again=False):
        """The exit code of a client. One that has no word from the agent any more goes on asking;
        a person ends it some time after what has happened."""
        client = installer.start_migration(self.world, status, again=again)
        end = time.monotonic() + PATIENCE_SECONDS
        try:
            while not client.has_ended():
                checks.expect(time.monotonic() < end, 'the client goes on for ever')
                if saboteur and saboteur.seconds_since() > IMPATIENCE_SECONDS:
                    return INTERRUPTED
                time.sleep(0.02)
            return client.wait()
        finally:
            client.kill()

    def check_end_of_agent(self):
        code = self.world.agent.wait()
        is_killed = self.disruption.whom == 'agent' and code == -signal.SIGKILL
        checks.expect(is_killed or code in ENDS, f'the agent has ended with exit code {code}')
        return is_killed

    def run_again(self):
        world = self.world
        world.restore()
        if world.machine.shutdown() and self.disruption.whom != 'agent':
            checks.agent_ended(world.agent, 0)  # a second later, although its client wasn't told
        if self.disruption.same_agent and self.status and not world.agent.has_ended():
            status = self.status
            again = self.export_broke_off()
        else:
            self.end_agent()
            self.clear_up()
            world.agent = Agent(world)
            status = self.status = world.agent.wait_until_it_serves()
            again = False
        # By the same way: a client knows by it whether it has begun an export there.
        code = self.migrate(world.line_of_client(status), again=again)
        checks.expect_equal(code, 0, 'exit code of the client, second time')
        checks.agent_ended(world.agent, 0)
        self.check_whole()

    def export_broke_off(self):
        """Its document may say for ever that it runs; a person sees that its program is gone."""
        document = self.world.machine.find('UpgradeRunnerExportOutput.json')
        runners = [name for name in self.world.machine.processes().values()
                   if name.startswith('python')]
        is_whole = document and b'"status": "success"' in document.read_bytes()
        return not runners and not is_whole

    def end_agent(self):
        """What is left behind is what the manner of its end leaves."""
        world = self.world
        if not world.agent.has_ended():
            world.agent.signal(signal.SIGINT)
        is_killed = self.check_end_of_agent()
        runs_on = bool(world.machine.processes())
        if not is_killed and not runs_on:
            checks.nothing_left_behind(world)
        world.machine.end_processes()
        world.lost_openings = world.machine.agents_openings() if is_killed else []
        if is_killed or runs_on:
            self.links = {path for path in world.machine.drive.iterdir() if path.is_symlink()}

    def clear_up(self):
        """What else would be taken for the next agent's."""
        machine = self.world.machine
        for path in (machine.find('hv-status.json'), machine.folder / 'shutdown.json',
                     self.world.arrived('export.zip'), self.world.arrived('logs.zip')):
            if path:
                path.unlink(missing_ok=True)

    def check_whole(self):
        world = self.world
        world.empty_disk()
        for link in self.links:
            link.unlink()
        checks.machine_shuts_down(world)
        checks.export_arrived(world)
        checks.logs_arrived(world)
        checks.status_of_a_good_start(world, self.status)
        checks.services_are(world, 'stopped')
        checks.nothing_left_behind(world)
        checks.no_password_anywhere(world, self.shown.getvalue())

    def tell(self):
        """All that was shown, and the end of the log, for who looks for a failure's reason."""
        print(self.shown.getvalue())
        print('\n'.join(self.world.machine.log().splitlines()[-60:]))


def run_seed(seed, keeps):
    migration = DisruptedMigration(seed)

    def clean_up():
        if keeps:
            migration.tell()

    try:
        return held(migration.disruption, migration.run, clean_up)
    finally:
        shutil.rmtree(migration.folder, ignore_errors=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--seeds', type=seeds_of, default='0-199', metavar='FROM-TO')
    parser.add_argument('--show', action='store_true', help='show the log of what fails')
    options = parser.parse_args()
    programs.skip_without_appliance(FOLDER)
    if not have_own_mounts():
        print('Skipped: this host permits no mounts of our own')
        return programs.SKIPPED
    failures = [seed for seed in options.seeds if not run_seed(seed, options.show)]
    return exit_code_of(options.seeds, failures)


if __name__ == '__main__':
    sys.exit(main())
