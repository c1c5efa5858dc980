"""The requirements phase: what the migration will need, and what stands in its way."""

GIB = 1 << 30
OLDER_LINE = '5.5'
# Rough sizes of what each component exports, as parts of the whole.
SHARES = {
    'com.ostrel.keldb': 0.6,
    'com.ostrel.kelIntegrity': 0.2,
    'com.ostrel.kelvd': 0.15,
    'com.ostrel.sso': 0.05,
    'com.ostrel.ostrelafd': 0.05,
}
DEFAULT_EXPORT_BYTES = 64 << 20


def component(name, export_bytes, extra_arguments):
    return {
        'name': name,
        'requirements': {
            'coreRequirement': {
                'requiredSrcDiskSpace': round(export_bytes * SHARES.get(name, 0) / GIB, 4),
                'exportEstimationTime': 2,
                'importEstimationTime': 3,
            },
            'extraArguments': extra_arguments,
            'requirementMismatchSpecs': [],
        },
    }


def names_of_components(migration_type, version):
    names = []
    if migration_type == 'tum':
        return ['com.ostrel.kelIntegrity']
    if migration_type != 'infrastructure':
        names += ['com.ostrel.keldb', 'com.ostrel.kelvd']
    if migration_type != 'management':
        names.append('com.ostrel.sso')
    if version != OLDER_LINE:
        names.append('com.ostrel.ostrelafd')
    return names


def extra_arguments(name, machine, migration_type):
    """What the agent chooses the system's name from: certificates that fit this very machine."""
    host = machine.system_name()
    addresses = ','.join(machine.addresses())
    if name == 'com.ostrel.keldb':
        return {'src.db.type': 'embedded'}
    if name == 'com.ostrel.kelvd':
        elsewhere = migration_type == 'management'
        sso_host = 'sso.' + host.partition('.')[2] if elsewhere and '.' in host else host
        return {'kelvd.sso.host': sso_host,
                'kelvd.sso.sts.url': f'https://{sso_host}:7444/sts/STSService/ostrel.local',
                'appliance.net.pnid': host, 'kelvd.cert.ip': addresses, 'kelvd.cert.dns': host}
    if name == 'com.ostrel.sso':
        return {'appliance.net.pnid': host, 'sso.cert.ipaddresses': addresses,
                'sso.cert.dnsnames': host}
    if name == 'com.ostrel.ostrelafd':
        return {'appliance.net.pnid': host, 'tevos.cert.ipaddresses': addresses,
                'tevos.cert.dnsnames': host}
    return {}


def mismatch(severity, text, resolution=''):
    return {'severity': severity, 'description': {'localized': text},
            'resolution': {'localized': resolution}}


def many_findings(count):
    return [mismatch('WARNING', f'Finding {number} of {count}.', 'Nothing needs to be done.')
            for number in range(1, count + 1)]


def merge(target, patch):
    """RFC 7396: objects member by member, null removes, all else replaces."""
    if not isinstance(patch, dict):
        return patch
    merged = dict(target) if isinstance(target, dict) else {}
    for name, value in patch.items():
        if value is None:
            merged.pop(name, None)
        else:
            merged[name] = merge(merged.get(name), value)
    return merged


def add_findings(components, findings):
    by_name = {element['name']: element for element in components}
    for finding in findings:
        element = by_name.get(finding.get('component'), components[0])
        element['requirements']['requirementMismatchSpecs'].append(
            mismatch(finding.get('severity', 'ERROR'), finding['text'],
                     finding.get('resolution', '')))


def make(machine, scenario, document):
    export_bytes = machine.scenario('export').get('bytes', DEFAULT_EXPORT_BYTES)
    components = [component(name, export_bytes, extra_arguments(name, machine, document.type))
                  for name in names_of_components(document.type, document.version)]
    add_findings(components, scenario.get('findings', []))
    components[0]['requirements']['requirementMismatchSpecs'] += many_findings(
        scenario.get('manyFindings', 0))
    patches = scenario.get('components', {})
    names = [element['name'] for element in components]
    components = [merge(element, patches.get(element['name'], {})) for element in components]
    for name in patches:
        if name not in names:
            components.append(merge(component(name, 0, {}), patches[name]))
    return components


def run(machine, scenario, _options, document, output, log):
    components = scenario.get('document')
    if components is None:
        components = make(machine, scenario, document)
    output.write(components)
    log.write(f'Requirements of {len(components)} components')
    return 0


def refusal(text):
    """What is written in place of requirements when the input file is refused."""
    refused = component('com.ostrel.upgraderunner', 0, {})
    refused['requirements']['requirementMismatchSpecs'] = [
        mismatch('ERROR', f'The input file of the upgrade runner is wrong. {text}')]
    return [refused]
