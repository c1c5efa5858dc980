"""The file in which the runner tells the agent what it found, and how far it is."""

import json
import os
import time

# How long a reader can meet half a document.
IN_PLACE_PAUSE_SECONDS = 0.02


class OutputFile:
    """Written whole, so that a reader meets the old or the new document, unless the scenario says
    otherwise: "none" writes nothing, "partial" stops in the middle of a document; "inPlace" writes
    over the old document, which a reader may meet half done."""

    def __init__(self, path, scenario):
        self.path = path
        self.kind = scenario.get('output', 'whole')
        self.in_place = scenario.get('writing', 'whole') == 'inPlace'

    def write(self, document):
        text = json.dumps(document, ensure_ascii=False, indent=1)
        if self.kind == 'none':
            return
        if self.kind == 'partial':
            self._write_text(text[:len(text) // 2])
        else:
            self._write_text(text)

    def _write_text(self, text):
        if not self.in_place:
            part = self.path + '.part'
            with open(part, 'w', encoding='utf-8') as file:
                file.write(text)
            os.replace(part, self.path)
            return
        with open(self.path, 'w', encoding='utf-8') as file:
            file.write(text[:len(text) // 2])
            file.flush()
            time.sleep(IN_PLACE_PAUSE_SECONDS)
            file.write(text[len(text) // 2:])
