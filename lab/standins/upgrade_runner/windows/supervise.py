"""Runs the machine's Python for python.exe, the Windows program: supervise.py PORT DRIVE_C ARGUMENT...

Wine starts programs of the host, but hands out nothing to wait for, to end them by, or to read their
output from. So this one connects to the port four times: the first connection is python.exe itself,
the others are the standard handles of the interpreter. It tells the exit code as 32 bits over the
first. When that ends before, python.exe has been killed, and whatever has come of the interpreter
goes with it. What an interpreter leaves behind goes when it ends.
"""

import ctypes
import os
import signal
import socket
import struct
import subprocess
import sys
import threading

PR_SET_CHILD_SUBREAPER = 36
# As the lab's machines tell the end by a signal; of any other it's as if the task manager had done it.
CODES_OF_SIGNALS = {signal.SIGSEGV: 0xC0000005, signal.SIGBUS: 0xC0000005,
                    signal.SIGILL: 0xC000001D, signal.SIGFPE: 0xC0000094, signal.SIGABRT: 3,
                    signal.SIGINT: 0xC000013A, signal.SIGQUIT: 0xC000013A,
                    signal.SIGHUP: 0xC000013A, signal.SIGTERM: 0xC000013A}


def children():
    """Children of this process; what was below one that has ended is among them."""
    return [int(number) for number in os.listdir('/proc')
            if number.isdigit() and parent_of(number) == os.getpid()]


def parent_of(number):
    """None for a process that is gone."""
    try:
        with open(f'/proc/{number}/stat', encoding='utf-8', errors='replace') as file:
            # Behind the name, which may hold anything.
            return int(file.read().rpartition(')')[2].split()[1])
    except (FileNotFoundError, ProcessLookupError):
        return None


def end_what_is_left():
    while left := children():
        for process in left:
            os.kill(process, signal.SIGKILL)
        for process in left:
            os.waitpid(process, 0)


def exit_code_of(process, status, machine):
    """The number of 32 bits that the process has left in a file of the machine; else its own."""
    file = os.path.join(machine, 'run', f'exit-{process}')
    try:
        with open(file, encoding='ascii') as told:
            code = int(told.read())
        os.remove(file)
    except (OSError, ValueError):
        code = status
    if status < 0:
        code = CODES_OF_SIGNALS.get(-status, 1)
    return code & 0xFFFFFFFF


def end_with(control, interpreter):
    """Nothing comes over the connection but its end."""
    try:
        control.recv(1)
    except OSError:
        pass
    interpreter.kill()


def main():
    port, drive, *arguments = sys.argv[1:]
    # The folder of the machine, as its programs find it.
    machine = os.path.dirname(drive.rstrip('/'))
    # Out of reach of the terminal, whose end isn't that of what is run here.
    os.setsid()
    ctypes.CDLL(None).prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)
    control, *standard = [socket.create_connection(('127.0.0.1', int(port))) for _ in range(4)]
    interpreter = subprocess.Popen(
        [sys.executable, *arguments], stdin=standard[0], stdout=standard[1], stderr=standard[2],
        env={**os.environ, 'HALVARD_LAB': machine}, start_new_session=True)
    for connection in standard:
        connection.close()
    threading.Thread(target=end_with, args=(control, interpreter), daemon=True).start()
    status = interpreter.wait()
    end_what_is_left()
    control.sendall(struct.pack('<I', exit_code_of(interpreter.pid, status, machine)))


if __name__ == '__main__':
    main()
