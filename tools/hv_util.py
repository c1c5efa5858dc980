#!/usr/bin/env python3
"""Says whether a zip file is sound, and whether it holds what a folder holds.

  hv_util.py --test ZIP [--result FILE]
  hv_util.py --compare ZIP FOLDER [--result FILE]

--test reads every file of the archive to its end and checks its length and its CRC-32.

--compare wants each file below FOLDER in the archive with the same bytes, under FOLDER's own name
("export/data/a.bin" for a FOLDER that ends in "export"), and nothing else. Only files count: zip
files of the Windows shell can't hold empty folders.

A file that the archive holds in a form that Python can't unpack (the shell writes big files as
Deflate64) is compared by its length and its CRC-32, which whoever packed it took from the bytes that
it read. The message says how many files that were.

The outcome goes to FILE, or else to the standard output, as a JSON object: "status" is "success" or
"failed", "message" says what differs and why, or what was looked at.

Exits with 0 after "success", 1 after "failed", 2 when the arguments are wrong or FILE can't be
written. Files are read piece by piece: memory doesn't grow with their sizes. Needs Python 3.4.
"""

import argparse
import json
import os
import struct
import sys
import zipfile
import zlib

PIECE = 1024 * 1024
SHOWN_DIFFERENCES = 20
# Flags of an entry (APPNOTE 4.4.4), and the lead of its local header (4.3.7).
ENCRYPTED = 0x1
UTF8_NAME = 0x800
LOCAL_HEADER = struct.Struct('<4s5H3L2H')
LOCAL_SIGNATURE = b'PK\3\4'
READABLE_METHODS = (zipfile.ZIP_STORED, zipfile.ZIP_DEFLATED, zipfile.ZIP_BZIP2, zipfile.ZIP_LZMA)


class Difference(Exception):
    """What is wrong with one file; the text names it."""


def system_path(path):
    """The path in the form in which Windows takes more than 260 characters."""
    if os.name != 'nt' or path.startswith('\\\\?\\'):
        return path
    path = os.path.abspath(path)
    if path.startswith('\\\\'):
        return '\\\\?\\UNC' + path[1:]
    return '\\\\?\\' + path


def pieces(stream):
    """The bytes of a stream, piece by piece."""
    return iter(lambda: stream.read(PIECE), b'')


def reason(error):
    """An exception as a person would put it."""
    if isinstance(error, OSError) and error.strerror:
        return error.strerror
    return str(error) or type(error).__name__


def printable(text):
    """The text as every reader of JSON takes it: names of files may hold half a surrogate pair."""
    return text.encode('utf-8', 'replace').decode('utf-8')


def is_folder(entry):
    return entry.filename.endswith('/')


def is_readable(entry):
    return entry.compress_type in READABLE_METHODS


def legacy_name(entry):
    """The name as the shell of this computer's language has written it, if it wasn't UTF-8."""
    if entry.flag_bits & UTF8_NAME or os.name != 'nt':
        return entry.filename
    try:
        return entry.filename.encode('cp437').decode('oem')
    except (UnicodeError, LookupError):
        return entry.filename


def files_of_archive(archive):
    """The archive's files by name, with "/" between folders. Raises Difference."""
    files = {}
    for entry in archive.infolist():
        if is_folder(entry):
            continue
        name = legacy_name(entry).replace('\\', '/')
        if name in files:
            raise Difference('{}: is in the zip file twice'.format(name))
        files[name] = entry
    return files


def files_of_folder(folder):
    """Paths of the files below a folder by name, with "/" between folders. Raises OSError."""
    def fail(error):
        raise error

    files = {}
    for path, _, names in os.walk(folder, onerror=fail):
        parts = os.path.relpath(path, folder).split(os.sep)
        prefix = '' if parts == ['.'] else '/'.join(parts) + '/'
        for name in names:
            files[prefix + name] = os.path.join(path, name)
    return files


def check_name(name):
    """An archive is unpacked elsewhere: nothing in it may lie outside of its folder."""
    if name.startswith('/') or '..' in name.split('/') or name[1:2] == ':':
        raise Difference('{}: leads out of the folder that it is unpacked to'.format(name))


def check_place(archive, entry):
    """Without unpacking: the entry's bytes lie where the directory says they do."""
    stream = archive.fp
    stream.seek(entry.header_offset)
    header = stream.read(LOCAL_HEADER.size)
    if len(header) < LOCAL_HEADER.size or not header.startswith(LOCAL_SIGNATURE):
        raise Difference('{}: its header is damaged'.format(entry.filename))
    fields = LOCAL_HEADER.unpack(header)
    end = entry.header_offset + LOCAL_HEADER.size + fields[9] + fields[10] + entry.compress_size
    stream.seek(0, os.SEEK_END)
    if end > stream.tell():
        raise Difference('{}: ends behind the end of the zip file'.format(entry.filename))


def test_entry(archive, entry):
    """Reads an entry to its end. Raises Difference."""
    if entry.flag_bits & ENCRYPTED:
        raise Difference('{}: is encrypted'.format(entry.filename))
    if not is_readable(entry):
        check_place(archive, entry)
        return
    length = 0
    # The end of the stream checks the CRC-32.
    with archive.open(entry) as stream:
        for piece in pieces(stream):
            length += len(piece)
    if length != entry.file_size:
        raise Difference('{}: has {} bytes and not {}'.format(entry.filename, length,
                                                              entry.file_size))


def compare_by_checksum(entry, path):
    checksum = 0
    with open(path, 'rb') as stream:
        for piece in pieces(stream):
            checksum = zlib.crc32(piece, checksum)
    if checksum & 0xffffffff != entry.CRC:
        raise Difference('its CRC-32 differs')


def compare_by_bytes(archive, entry, path):
    position = 0
    with archive.open(entry) as packed, open(path, 'rb') as stream:
        for expected in pieces(stream):
            # Both give whole pieces until their ends.
            found = packed.read(len(expected))
            if found != expected:
                offset = next((i for i, (a, b) in enumerate(zip(found, expected)) if a != b),
                              min(len(found), len(expected)))
                raise Difference('differs from byte {}'.format(position + offset))
            position += len(expected)


def compare_file(archive, name, entry, path):
    """Raises Difference with the file's name in it."""
    try:
        size = os.path.getsize(path)
        if size != entry.file_size:
            raise Difference('has {} bytes in the zip file and {} in the folder'.format(
                entry.file_size, size))
        if is_readable(entry):
            compare_by_bytes(archive, entry, path)
        else:
            compare_by_checksum(entry, path)
    except Difference as difference:
        raise Difference('{}: {}'.format(name, difference))
    except Exception as error:  # of the archive's reader, of many kinds, or of the file's
        raise Difference('{}: {}'.format(name, reason(error)))


def unreadable_note(entries):
    count = sum(1 for entry in entries if not is_readable(entry))
    if count == 0:
        return ''
    return (' {} of them can\'t be unpacked here and went by length and CRC-32.'.format(count))


def test_archive(archive):
    """Returns what was looked at. Raises Difference at the first file that is wrong."""
    files = files_of_archive(archive)
    for name, entry in files.items():
        check_name(name)
        try:
            test_entry(archive, entry)
        except Difference:
            raise
        except Exception as error:  # the reader meets damage with exceptions of many kinds
            raise Difference('{}: {}'.format(name, reason(error)))
    return '{} files tested.'.format(len(files)) + unreadable_note(files.values())


def differences(archive, packed, present):
    for name in sorted(set(packed) | set(present)):
        if name not in packed:
            yield '{}: is missing in the zip file'.format(name)
        elif name not in present:
            yield '{}: is not in the folder'.format(name)
        else:
            try:
                compare_file(archive, name, packed[name], present[name])
            except Difference as difference:
                yield str(difference)


def compare_with_folder(archive, folder):
    """Returns what was looked at. Raises Difference with all that differs."""
    folder = os.path.abspath(folder)
    if not os.path.isdir(system_path(folder)):
        raise Difference('{}: is no folder'.format(folder))
    top = os.path.basename(folder)
    present = {'{}/{}'.format(top, name): path
               for name, path in files_of_folder(system_path(folder)).items()}
    packed = files_of_archive(archive)
    if present and not any(name.startswith(top + '/') for name in packed):
        raise Difference('The zip file must hold the folder "{}" itself.'.format(top))
    found = list(differences(archive, packed, present))
    if found:
        shown = found[:SHOWN_DIFFERENCES]
        if len(found) > len(shown):
            shown.append('and {} more'.format(len(found) - len(shown)))
        raise Difference('\n'.join(shown))
    return '{} files compared.'.format(len(packed)) + unreadable_note(packed.values())


def examine(path, check):
    """Opens an archive and runs a check on it. Returns the result document."""
    try:
        with zipfile.ZipFile(system_path(path)) as archive:
            return {'status': 'success', 'message': check(archive)}
    except Difference as difference:
        message = str(difference)
    except Exception as error:  # of the reader, which meets damage with exceptions of many kinds
        message = '{}: {}'.format(path, reason(error))
    return {'status': 'failed', 'message': printable(message)}


def write_result(path, result):
    """A reader finds the whole document or none."""
    text = json.dumps(result, indent=2, sort_keys=True) + '\n'
    if path is None:
        sys.stdout.write(text)
        return
    unfinished = path + '.tmp'
    with open(system_path(unfinished), 'w') as stream:
        stream.write(text)
    os.replace(system_path(unfinished), system_path(path))


def main(arguments):
    parser = argparse.ArgumentParser(
        description='Says whether a zip file is sound, and whether it holds what a folder holds.')
    work = parser.add_mutually_exclusive_group(required=True)
    work.add_argument('--test', metavar='ZIP', help='read every file of the archive')
    work.add_argument('--compare', nargs=2, metavar=('ZIP', 'FOLDER'),
                      help='compare the archive with a folder')
    parser.add_argument('--result', metavar='FILE', help='where to write the outcome, as JSON')
    options = parser.parse_args(arguments)
    if options.test is not None:
        result = examine(options.test, test_archive)
    else:
        path, folder = options.compare
        result = examine(path, lambda archive: compare_with_folder(archive, folder))
    try:
        write_result(options.result, result)
    except OSError as error:
        sys.stderr.write('{}: {}\n'.format(options.result, reason(error)))
        return 2
    return 0 if result['status'] == 'success' else 1


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
