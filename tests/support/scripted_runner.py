"""An upgrade runner that carries out what a test has ordered.

"orders.json" in the folder of this script has a list of steps for each mode, "requirements" and
"export"; they are carried out one after the other. OUTPUT is the file that the command line names;
other names are of files beside it.

    ["write", TEXT]          write the text into OUTPUT, in place
    ["rewrite", TEXT, STOP]  write the text into OUTPUT in three pieces, and again from the start,
                             until the file STOP exists
    ["keep", NAME]           copy the input file
    ["arguments", NAME]      write the arguments, a JSON array
    ["tell", NAME]           make an empty file
    ["wait", NAME]           go on once the file exists
    ["exit", CODE]           end now; without this step the code is 0
"""

import json
import os
import shutil
import sys
import time


def argument(name):
    return next(a.split('=', 1)[1] for a in sys.argv if a.startswith(f'--{name}='))


OUTPUT = argument('outputFile')
FOLDER = os.path.dirname(OUTPUT)


def place(name):
    return os.path.join(FOLDER, name)


def write(text, stop=None):
    data = text.encode()
    third = len(data) // 3
    with open(OUTPUT, 'wb', buffering=0) as file:
        for piece in (data[:third], data[third:2 * third], data[2 * third:]):
            file.write(piece)
            if stop and os.path.exists(place(stop)):
                return


def write_whole(name, text):
    with open(place(name) + '.part', 'w', encoding='utf-8') as file:
        file.write(text)
    os.rename(place(name) + '.part', place(name))


def wait(name):
    while not os.path.exists(place(name)):
        time.sleep(0.001)


def carry_out(step, *values):
    if step == 'write':
        write(values[0])
    elif step == 'rewrite':
        while not os.path.exists(place(values[1])):
            write(*values)
    elif step == 'keep':
        shutil.copy(argument('configFile'), place(values[0]))
    elif step == 'arguments':
        write_whole(values[0], json.dumps(sys.argv[1:]))
    elif step == 'tell':
        write_whole(values[0], '')
    elif step == 'wait':
        wait(values[0])
    elif step == 'exit':
        sys.exit(values[0])
    else:
        sys.exit(f'No such step: {step}')


with open(os.path.join(os.path.dirname(sys.argv[0]), 'orders.json'), encoding='utf-8') as orders:
    for order in json.load(orders)[argument('mode')]:
        carry_out(*order)
