#!/usr/bin/env python3
"""Makes the page of all messages: messages_page.py [--check]

Writes docs/messages.md from the English string table and docs/message-causes.txt. With --check it writes
nothing and exits with 1 if the page isn't what it would write. A message without a cause, and a cause
without a message, are errors.
"""

import re
import sys
from pathlib import Path
from typing import Dict, Tuple

TREE = Path(__file__).resolve().parents[1]
SCRIPT = Path('resources/messages_en.rc')
CAUSES = Path('docs/message-causes.txt')
PAGE = Path('docs/messages.md')
ROW = re.compile(r'^\s*(\d+) "(.*)"$', re.MULTILINE)
CAUSE = re.compile(r'^(\d+) (.+)\n  (.+)$', re.MULTILINE)

HEAD = '''# Messages

What the agent says to whoever sits before it and to the clients of its API, by number. The texts are the
English ones; the numbers are the same in all eight languages. `[0]`, `[1]` and `[2]` stand for what the
message is about, `\\n` for a line end.

The log is in English throughout: look up a text from it here, too.

| Id | Text | What brings it about | What to do |
|---|---|---|---|
'''


def read_messages(script: str) -> Dict[int, str]:
    return {int(number): text.replace('""', '"') for number, text in ROW.findall(script)}


def read_causes(text: str) -> Dict[int, Tuple[str, str]]:
    body = ''.join(f'{line}\n' for line in text.splitlines() if line and not line.startswith('#'))
    causes: Dict[int, Tuple[str, str]] = {}
    for number, cause, remedy in CAUSE.findall(body):
        if int(number) in causes:
            raise ValueError(f'{CAUSES} has two causes of {number}')
        causes[int(number)] = (cause, remedy)
    if 2 * len(causes) != body.count('\n'):
        raise ValueError(f'a line of {CAUSES} is neither "ID CAUSE" nor its indented remedy')
    return causes


def cell(text: str) -> str:
    return text.replace('|', r'\|').replace('<', '&lt;').strip()


def page(script: str, causes_text: str) -> str:
    messages, causes = read_messages(script), read_causes(causes_text)
    if lacking := sorted(messages.keys() - causes.keys()):
        raise ValueError(f'{CAUSES} tells no cause of {", ".join(map(str, lacking))}')
    if unknown := sorted(causes.keys() - messages.keys()):
        raise ValueError(f'{CAUSES} tells of messages that {SCRIPT} lacks: '
                         f'{", ".join(map(str, unknown))}')
    rows = (f'| {number} | {cell(text)} | {cell(causes[number][0])} | '
            f'{cell("" if causes[number][1] == "-" else causes[number][1])} |\n'
            for number, text in sorted(messages.items()))
    return HEAD + ''.join(rows)


def main() -> int:
    if sys.argv[1:] not in ([], ['--check']):
        print(__doc__.strip())
        return 2
    try:
        made = page((TREE / SCRIPT).read_text(encoding='utf-8'),
                    (TREE / CAUSES).read_text(encoding='utf-8'))
    except ValueError as error:
        print(f'messages_page.py: {error}', file=sys.stderr)
        return 1
    if not sys.argv[1:]:
        (TREE / PAGE).write_text(made, encoding='utf-8')
        return 0
    if (TREE / PAGE).read_text(encoding='utf-8') == made:
        return 0
    print(f'{PAGE} is out of date: run tools/messages_page.py')
    return 1


if __name__ == '__main__':
    sys.exit(main())
