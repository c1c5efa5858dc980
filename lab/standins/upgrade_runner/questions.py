"""Questions that an export asks, and the answers that come in files."""

import json
import os
import time

POLL_SECONDS = 0.05


class BadAnswer(Exception):
    """The answer isn't one to the question."""


class Question:
    def __init__(self, described, machine, temp_folder, log_folder):
        self.id = described['id']
        self.expected = described.get('expected')
        self.member = {'id': self.id, 'text': {'localized': described.get('text', self.id)}}
        if 'choices' in described:
            self.member['choices'] = described['choices']
        if 'default' in described:
            self.member['default'] = described['default']
        form = described.get('replyFile', 'none')
        if form == 'none':
            self.place = os.path.join(temp_folder, self.id + '.json')
        elif form == 'name':
            name = f'answer to {self.id}.json'
            self.place = os.path.join(temp_folder, name)
            self.member['reply_file'] = name
        else:
            folder = os.path.join(log_folder, 'answers')
            os.makedirs(folder, exist_ok=True)
            self.place = os.path.join(folder, self.id + '.json')
            self.member['reply_file'] = machine.windows_path(self.place)
        # An answer from before isn't one to this question.
        if os.path.exists(self.place):
            os.remove(self.place)

    def wait(self):
        """Blocks until the answer is there. Returns it; the file is gone then."""
        while True:
            try:
                with open(self.place, encoding='utf-8') as file:
                    reply = json.load(file)
                break
            except (FileNotFoundError, ValueError):
                # Not there yet, or not whole yet.
                time.sleep(POLL_SECONDS)
        os.remove(self.place)
        return self._checked(reply)

    def _checked(self, reply):
        if not isinstance(reply, dict) or set(reply) != {'answer', 'reply_to'}:
            raise BadAnswer(f'The answer to {self.id} has other members than answer and reply_to.')
        if reply['reply_to'] != self.id:
            raise BadAnswer(f'The answer to {self.id} is one to {reply["reply_to"]}.')
        answer = reply['answer']
        if self.expected is not None and answer != self.expected:
            raise BadAnswer(f'The answer to {self.id} is {json.dumps(answer)}.')
        if 'choices' in self.member and answer not in self.member['choices']:
            raise BadAnswer(f'The answer to {self.id} is none of the choices.')
        return answer
