"""The product's services, which an export stops. The agent starts them again after a failure."""

import fcntl
import json
import os

INFRASTRUCTURE = ['OstRelDirectoryService', 'OstRelCertificateService',
                  'OstrelIdentityMgmtService', 'OstrelSTS', 'OstrelKdcService']
SERVER = ['kelvd', 'kelweb']
# In starting order: a later one needs the earlier ones.
SERVICES = {
    'embedded': INFRASTRUCTURE + SERVER,
    'management': SERVER,
    'infrastructure': INFRASTRUCTURE,
    'tum': [],
}


def stop(machine, migration_type):
    """Stops those that the machine has, the last one first. Returns their names."""
    known = {name.upper(): name for name in machine.description.get('services', {})}
    names = [known[name.upper()] for name in reversed(SERVICES[migration_type])
             if name.upper() in known]
    if machine.is_wines:
        for name in names:
            machine.run('net', 'stop', name)
    else:
        change_states(machine, {name: {'state': 'stopped', 'exitCode': 0} for name in names})
    return names


def change_states(machine, changes):
    """Writes states where the machine's service manager keeps them, under its lock and whole."""
    path = machine.folder / 'services.json'
    with open(machine.folder / 'run' / 'services.lock', 'a', encoding='ascii') as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        states = json.loads(path.read_text(encoding='utf-8')) if path.exists() else {}
        by_name = {name.upper(): name for name in states}
        for name, state in changes.items():
            states[by_name.get(name.upper(), name)] = state
        following = path.with_name(path.name + '.new')
        following.write_text(json.dumps(states, ensure_ascii=False, indent=1), encoding='utf-8')
        os.replace(following, path)
