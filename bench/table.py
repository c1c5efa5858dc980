#!/usr/bin/env python3
"""The table of all benchmarks: table.py FILE prints the rows that the benchmarks left in a file.

A row is a line of four columns between tabs: benchmark, what is counted, our value, and the values
of others. HALVARD_BENCH_TABLE names the file that a benchmark adds its rows to.
"""

import os
import sys

HEADINGS = ('Benchmark', 'What', 'Ours', 'Others (in brackets: ours divided by theirs)')


def row(benchmark, what, value, others):
    """Prints a row and adds it to the table."""
    print(f'  {what:<60} {value:>12}  {others}', flush=True)
    path = os.environ.get('HALVARD_BENCH_TABLE')
    if path:
        with open(path, 'a', encoding='utf-8') as file:
            file.write('\t'.join((benchmark, what, value, others)) + '\n')


def main():
    if len(sys.argv) != 2:
        sys.exit('usage: table.py FILE')
    with open(sys.argv[1], encoding='utf-8') as file:
        rows = [HEADINGS] + [tuple(line.rstrip('\n').split('\t')) for line in file]
    widths = [max(len(cells[column]) for cells in rows) for column in range(len(HEADINGS))]
    rows.insert(1, tuple('-' * width for width in widths))
    for cells in rows:
        print('| ' + ' | '.join(f'{cell:<{width}}' for cell, width in zip(cells, widths)) + ' |')


if __name__ == '__main__':
    main()
