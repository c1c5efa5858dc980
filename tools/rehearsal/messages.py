"""The texts that the agent shows, out of its string tables."""

import re
from pathlib import Path

RESOURCES = Path(__file__).resolve().parents[2] / 'resources'
# Ids of the languages as Windows numbers them.
LANGUAGES = {'de': 1031, 'en': 1033, 'es': 1034, 'fr': 1036, 'ja': 1041, 'ko': 1042,
             'zh_CN': 2052, 'zh_TW': 1028}
ESCAPES = {'n': '\n', 't': '\t', 'r': '\r', '\\': '\\'}
LINE = re.compile(r'^\s*(\d+)\s+"((?:[^"]|"")*)"\s*$')


def unescaped(text):
    return re.sub(r'\\(.)', lambda match: ESCAPES.get(match[1], match[0]), text.replace('""', '"'))


class Messages:
    def __init__(self, locale):
        self._texts = {}
        # Some messages are in English alone.
        for language in ('en', locale):
            file = RESOURCES / f'messages_{language}.rc'
            for line in file.read_text(encoding='utf-8').splitlines():
                match = LINE.match(line)
                if match:
                    self._texts[int(match[1])] = unescaped(match[2])

    def text(self, number, *arguments):
        text = self._texts[number]
        for place, argument in enumerate(arguments):
            text = text.replace(f'[{place}]', str(argument))
        return text
