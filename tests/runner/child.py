"""A child for tests. Its arguments are orders, carried out one after the other:

  exit=CODE        end now with this code, of 32 bits
  write=FILE:TEXT  write the text into the file, whole
  report=FILE      write, as JSON, where and how this process runs
  leave=FILE       leave a process behind, in a session of its own, whose parent has ended; the file
                   holds its process id
  wait=FILE        go on once the file exists
  litter=FOLDER    make and remove so many files in the folder that a watch of it overflows
  hang             stay until somebody ends this process

Paths arrive as those of the host. Files appear whole, by a renaming, but for "write".
"""

import json
import os
import sys
import time


def write_whole(path, text):
    with open(path + '.part', 'w', encoding='utf-8') as file:
        file.write(text)
    os.rename(path + '.part', path)


def wait_for(path):
    while not os.path.exists(path):
        time.sleep(0.001)


def end(code):
    # The host's exit code has 8 bits; the machine takes the whole one from this file.
    with open(f'{os.environ["HALVARD_LAB"]}/run/exit-{os.getpid()}', 'w', encoding='ascii') as file:
        file.write(code)
    sys.stdout.flush()
    os._exit(int(code) & 0xFF)


def leave(path):
    if os.fork() == 0:
        os.setsid()
        if os.fork() != 0:
            os._exit(0)
        write_whole(path, str(os.getpid()))
        time.sleep(3600)
    wait_for(path)


def report(path):
    write_whole(path, json.dumps({
        'arguments': sys.argv[1:],
        'folder': os.getcwd(),
        'environment': dict(os.environ),
        # Without the one that the listing itself has open.
        'descriptors': [int(name) for name in os.listdir('/proc/self/fd')
                        if os.path.exists(f'/proc/self/fd/{name}')],
        'standardOutput': os.readlink('/proc/self/fd/1'),
    }))


def litter(folder):
    for number in range(500):
        path = f'{folder}/{"litter" * 20}-{number}'
        with open(path, 'w', encoding='ascii') as file:
            file.write('x')
        os.remove(path)


for order in sys.argv[1:]:
    name, _, value = order.partition('=')
    if name == 'exit':
        end(value)
    elif name == 'write':
        file_name, _, text = value.rpartition(':')
        with open(file_name, 'w', encoding='utf-8') as target:
            target.write(text)
    elif name == 'report':
        report(value)
    elif name == 'leave':
        leave(value)
    elif name == 'wait':
        wait_for(value)
    elif name == 'litter':
        litter(value)
    elif name == 'hang':
        time.sleep(3600)
