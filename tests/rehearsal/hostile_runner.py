"""Runs in place of the machine's interpreter: the script that it is told as long as there are no orders,
otherwise a runner that writes what it is ordered to.

    hostile_runner.py ORDERS-FILE SCRIPT --mode=MODE --outputFile=FILE ...

Orders are {"documents": [what the file holds, one after the other, as base64], "exit": CODE}.
"""

import base64
import json
import os
import sys
import time
from pathlib import Path

PAUSE_SECONDS = 0.02


def main():
    orders = Path(sys.argv[1]).read_text(encoding='ascii')
    if not orders:
        os.execv(sys.executable, [sys.executable, *sys.argv[2:]])
    order = json.loads(orders)
    place = next(text.partition('=')[2] for text in sys.argv if text.startswith('--outputFile='))
    for document in order['documents']:
        # In place, so that a reader may meet half of it.
        Path(place).write_bytes(base64.b64decode(document))
        time.sleep(PAUSE_SECONDS)
    sys.exit(order['exit'])


if __name__ == '__main__':
    main()
