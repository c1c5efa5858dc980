"""The input file of the agent: what the phase is to work on, passwords included.

The agent's own rules show in it: a property that is empty becomes null, "1" and "true" become true,
"0" and "false" become false.
"""

import json
from typing import NamedTuple, Optional

KELVD = 'com.ostrel.kelvd'
SSO = 'com.ostrel.sso'
# What each type of migration has to do with.
COMPONENTS = {
    'embedded': (KELVD, SSO),
    'management': (KELVD,),
    'infrastructure': (SSO,),
    'tum': (KELVD,),
}


class WrongInput(Exception):
    """The file isn't what the agent writes. Its text names the member and what was expected."""


class InputDocument(NamedTuple):
    type: str
    version: str  # of the source: "5.5", or a later one of the platform installer
    export_folder: Optional[str]  # path of the machine; only for the export


def expect(condition, path, what):
    if not condition:
        raise WrongInput(f'{path}: expected {what}')


def is_text(value):
    return isinstance(value, str) and value != ''


def is_secret(value):
    """A password, which the agent's rules turn into a truth value if it reads like one."""
    return is_text(value) or isinstance(value, bool)


def is_text_or_nothing(value):
    return value is None or is_secret(value)


def is_anything(_value):
    return True


TEXT = (is_text, 'a text')
SECRET = (is_secret, 'a password')
OPTIONAL = (is_text_or_nothing, 'a text or null')
NOTHING = (lambda value: value is None, 'null')
USER_OPTIONS = (is_anything, '')


def exactly(text):
    return (lambda value: value == text), f'"{text}"'


def check_members(value, path, members):
    """The value has to be an object with these members and no others."""
    expect(isinstance(value, dict), path, 'an object')
    for name, (test, what) in members.items():
        expect(name in value, f'{path}/{name}', f'{what}, but there is none')
        expect(test(value[name]), f'{path}/{name}', what)
    for name in value:
        expect(name in members, f'{path}/{name}', 'no such member')


def members_of_component(component, migration_type):
    members = {'platform': exactly('Windows'), 'url': TEXT, 'version': TEXT}
    if component == KELVD or migration_type == 'infrastructure':
        members.update({'username': TEXT, 'password': SECRET})
    if component == KELVD:
        members.update({'kv.svcuser': OPTIONAL, 'kv.svcuserpassword': OPTIONAL,
                        'kv.thumbprint': TEXT if migration_type == 'tum' else OPTIONAL})
    return members


def check_components(components, migration_type):
    path = '/source-components'
    expect(isinstance(components, dict), path, 'an object')
    for component in COMPONENTS[migration_type]:
        place = f'{path}/{component}'
        expect(component in components, place, 'a list of one, but there is none')
        listed = components[component]
        expect(isinstance(listed, list) and len(listed) == 1, place, 'a list of one')
        check_members(listed[0], f'{place}/0', members_of_component(component, migration_type))
    for component in components:
        expect(component in COMPONENTS[migration_type], f'{path}/{component}', 'no such member')


def check_settings(settings, migration_type, mode):
    members = {'destinationPlatform': exactly('linux'), 'user-options': USER_OPTIONS}
    if migration_type != 'tum':
        members['upgrade-type'] = exactly(migration_type)
    if mode == 'export':
        members['export-folder'] = TEXT
        members['infrastructure'] = ((lambda value: isinstance(value, dict)), 'an object')
    check_members(settings, '/upgrade-settings', members)
    if mode == 'export':
        check_infrastructure(settings['infrastructure'], migration_type)


def check_infrastructure(node, migration_type):
    elsewhere = migration_type == 'management'
    check_members(node, '/upgrade-settings/infrastructure', {
        'host': OPTIONAL if elsewhere else exactly('127.0.0.1'),
        'httpsPort': NOTHING if elsewhere else TEXT,
        'username': TEXT,
        'password': SECRET,
    })


def migration_type_of(document):
    settings = document['upgrade-settings']
    expect(isinstance(settings, dict), '/upgrade-settings', 'an object')
    # An update manager's migration is told by not being named.
    migration_type = settings.get('upgrade-type', 'tum')
    expect(migration_type in COMPONENTS, '/upgrade-settings/upgrade-type',
           'a type of migration')
    return migration_type


def check(document, mode):
    """Tests the document. Returns what the phases go by."""
    any_object = ((lambda value: isinstance(value, dict)), 'an object')
    check_members(document, '', {'source-components': any_object, 'upgrade-settings': any_object})
    migration_type = migration_type_of(document)
    check_components(document['source-components'], migration_type)
    check_settings(document['upgrade-settings'], migration_type, mode)
    first = document['source-components'][COMPONENTS[migration_type][0]][0]
    return InputDocument(migration_type, first['version'],
                         document['upgrade-settings'].get('export-folder'))


def read(path, mode):
    try:
        with open(path, encoding='utf-8') as file:
            document = json.load(file)
    except (OSError, ValueError) as fault:
        raise WrongInput(f': expected a JSON document: {fault}') from fault
    return check(document, mode)
