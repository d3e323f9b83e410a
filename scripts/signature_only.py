# Fails unless two programs differ in nothing but the signature of the second one: the check sum of the image, the entry
# of the certificate table in the header, and that table behind the image, which begins at a multiple of eight.
# Usage: signature_only.py <unsigned program> <signed program>
import pathlib
import struct
import sys

unsigned, signed = (bytearray(pathlib.Path(name).read_bytes()) for name in sys.argv[1:])

header = struct.unpack_from("<I", unsigned, 0x3C)[0]
optional = header + 24
if unsigned[header : header + 4] != b"PE\0\0" or struct.unpack_from("<H", unsigned, optional)[0] != 0x20B:
    sys.exit(f"{sys.argv[1]} is not a 64-bit program of Windows")
check_sum = slice(optional + 64, optional + 68)
certificate_table = slice(optional + 112 + 4 * 8, optional + 112 + 5 * 8)
if any(unsigned[certificate_table]):
    sys.exit(f"{sys.argv[1]} is signed already")

start, size = struct.unpack("<II", signed[certificate_table])
padded = unsigned + bytes(-len(unsigned) % 8)
if (start, start + size) != (len(padded), len(signed)) or not size:
    sys.exit(f"{sys.argv[2]}: the signature is not all that follows the program")
for part in check_sum, certificate_table:
    padded[part] = signed[part]
if signed[:start] != padded:
    sys.exit(f"{sys.argv[2]} differs from {sys.argv[1]} in more than its signature")
