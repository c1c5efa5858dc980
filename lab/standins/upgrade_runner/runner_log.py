"""The runner's own log, in the folder that the agent collects logs from."""

import os
import time


class RunnerLog:
    def __init__(self, folder):
        os.makedirs(folder, exist_ok=True)
        self.path = os.path.join(folder, 'UpgradeRunner.log')

    def write(self, text):
        """Adds a line. Nothing of the input file but names of members may be in it."""
        stamp = time.strftime('%Y-%m-%dT%H:%M:%SZ', time.gmtime())
        with open(self.path, 'a', encoding='utf-8') as file:
            file.write(f'{stamp} {text}\n')
