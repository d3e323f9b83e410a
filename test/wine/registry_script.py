"""Prints the registry script that a library of Wine carries as a resource."""

import struct
import sys


def resources(data, raw, address, offset=0, path=()):
    """Yields the leaves of the resource tree: the path (names and numbers) and the bytes."""
    named, numbered = struct.unpack_from('<HH', data, raw + offset + 12)
    for index in range(named + numbered):
        name, target = struct.unpack_from('<II', data, raw + offset + 16 + 8 * index)
        if name & 0x80000000:
            at = raw + (name & 0x7fffffff)
            length = struct.unpack_from('<H', data, at)[0]
            name = data[at + 2:at + 2 + 2 * length].decode('utf-16-le')
        if target & 0x80000000:
            yield from resources(data, raw, address, target & 0x7fffffff, path + (name,))
        else:
            at, size = struct.unpack_from('<II', data, raw + target)
            yield path + (name,), data[raw + at - address:raw + at - address + size]


def main(library):
    data = open(library, 'rb').read()
    header = struct.unpack_from('<I', data, 0x3c)[0]
    sections, optional = struct.unpack_from('<H', data, header + 6)[0], struct.unpack_from('<H', data, header + 20)[0]
    for index in range(sections):
        name, _, address, _, raw = struct.unpack_from('<8sIIII', data, header + 24 + optional + 40 * index)
        if name.startswith(b'.rsrc'):
            for path, content in resources(data, raw, address):
                if path[0] == 'WINE_REGISTRY':
                    sys.stdout.buffer.write(content)
                    return
    sys.exit(f'{library} has no registry script')


main(sys.argv[1])
