"""What an export leaves in its folder: files of any size that a seed decides."""

import hashlib
import json
import os
import random
import struct

BLOCK_BYTES = 1 << 20
MOST_BYTES_OF_A_FILE = 256 << 20
MANIFEST = 'manifest.json'


class FileWriter:
    """Writes the files of an export and keeps the list of them."""

    def __init__(self, folder, seed):
        self.folder = folder
        self.seed = seed
        self.entries = []
        self.bytes = 0
        self._block = bytearray(random.Random(seed).randbytes(BLOCK_BYTES))

    def write_text(self, name, text):
        self._write(name, [text.encode('utf-8')])

    def write_data(self, name, size, told=lambda count: None):
        """Writes so many bytes; no two blocks of an export are the same."""
        self._write(name, self._blocks(len(self.entries), size), told)

    def _blocks(self, number, size):
        for index in range((size + BLOCK_BYTES - 1) // BLOCK_BYTES):
            struct.pack_into('<QQ', self._block, 0, number, index)
            yield memoryview(self._block)[:min(BLOCK_BYTES, size - index * BLOCK_BYTES)]

    def _write(self, name, blocks, told=lambda count: None):
        path = os.path.join(self.folder, *name.split('/'))
        os.makedirs(os.path.dirname(path), exist_ok=True)
        digest = hashlib.sha256()
        size = 0
        with open(path, 'wb') as file:
            for block in blocks:
                file.write(block)
                digest.update(block)
                size += len(block)
                self.bytes += len(block)
                told(self.bytes)
        self.entries.append({'path': name, 'bytes': size, 'sha256': digest.hexdigest()})

    def write_manifest(self):
        with open(os.path.join(self.folder, MANIFEST), 'w', encoding='utf-8') as file:
            json.dump({'seed': self.seed, 'files': self.entries}, file, ensure_ascii=False, indent=1)


def sizes_of_data(total):
    """Divides a size into those of files."""
    while total > 0:
        size = min(total, MOST_BYTES_OF_A_FILE)
        yield size
        total -= size
