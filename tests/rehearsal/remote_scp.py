"""What sshd runs in place of the command that it is told: the command itself as long as the file has no
seed in it, otherwise a program that takes no file as it should.

    remote_scp.py SEED-FILE
"""

import os
import random
import signal
import sys
import time
from pathlib import Path

MOMENT_SECONDS = 0.3
MOST_SECONDS = 1
FLOOD_BYTES = 4 << 20
ODD_ANSWERS = (b'\x01', b'\x02', b'\x01No room.\n', b'\x02Lost.\n', b'\x03', b'\xff', b'\n', b'\0\0\0',
               b'\x01' + b'x' * 100, b'\x01' + b'\0' * 100, b'\x02\xff\xfe\n', b'C0644 5 x\n', b'E\n')


def say(data, descriptor=1):
    while data:
        data = data[os.write(descriptor, data):]


def hear(count):
    """So many bytes of the client at the most."""
    while count > 0 and (data := os.read(0, min(count, 65536))):
        count -= len(data)


def misbehave(chance):
    """Does one thing that isn't in order."""
    match chance.randrange(8):
        case 0 | 1:
            say(chance.choice(ODD_ANSWERS))
        case 2:
            say(chance.choice((b'\x01', b'\x02', b'')) + chance.randbytes(1) * FLOOD_BYTES)
        case 3:
            say(chance.randbytes(chance.choice((1, 100, 100_000))), chance.choice((1, 2)))
        case 4:
            os.close(chance.choice((0, 1, 2)))
        case 5:
            time.sleep(MOMENT_SECONDS)
        case 6:
            os.kill(os.getpid(), chance.choice((9, 11, 15)))
        case _:
            os._exit(chance.choice((0, 1, 2, 127, 255)))


def take_badly(chance):
    """Some steps in order, then others."""
    for _ in range(chance.choice((0, 0, 1, 1, 2))):
        say(b'\0')
        hear(chance.choice((1, 100, 8192)))
    for _ in range(chance.choice((1, 2, 3))):
        misbehave(chance)
        if chance.random() < 0.5:
            hear(chance.choice((1, 100, 8192)))


def main():
    seed = Path(sys.argv[1]).read_text(encoding='ascii')
    if not seed:
        os.execv('/bin/sh', ['sh', '-c', os.environ['SSH_ORIGINAL_COMMAND']])
    # Ends it, whatever it waits for: the client isn't to wait longer.
    signal.setitimer(signal.ITIMER_REAL, MOST_SECONDS)
    take_badly(random.Random(int(seed)))


if __name__ == '__main__':
    main()
