"""What can become of the runner's process."""

import os
import sys
import time

A_LONG_TIME_SECONDS = 24 * 3600


def hang():
    while True:
        time.sleep(A_LONG_TIME_SECONDS)


def leave_grandchild(machine):
    """Leaves a process behind, in a session of its own, whose parent has ended. Its id stands in
    the file "grandchild" beside the machine's locks."""
    child = os.fork()
    if child != 0:
        os.waitpid(child, 0)
        return
    os.setsid()
    grandchild = os.fork()
    if grandchild == 0:
        hang()
    (machine.folder / 'run' / 'grandchild').write_text(str(grandchild), encoding='ascii')
    os._exit(0)


def end(code):
    """Ends the process with an exit code of 32 bits."""
    # The host's has 8; the machine takes the whole one from this file.
    path = os.path.join(os.environ['HALVARD_LAB'], 'run', f'exit-{os.getpid()}')
    with open(path, 'w', encoding='ascii') as file:
        file.write(str(code))
    sys.stdout.flush()
    os._exit(code & 0xFF)
