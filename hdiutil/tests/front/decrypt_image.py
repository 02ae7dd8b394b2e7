"""Writes the image inside an encrypted one to standard output; the password is on standard input.

A reader of its own, from the format's description alone, to compare hdiutil with: Python's cryptography does the work.
"""

import hashlib
import hmac
import struct
import sys

from cryptography.hazmat.primitives.ciphers import Cipher, algorithms, modes

try:
    from cryptography.hazmat.decrepit.ciphers.algorithms import TripleDES
except ImportError:  # before version 43
    TripleDES = algorithms.TripleDES


def decrypt(algorithm, vector, data):
    decryptor = Cipher(algorithm, modes.CBC(vector)).decryptor()
    return decryptor.update(data) + decryptor.finalize()


def keys_of(image, password):
    key_bits, = struct.unpack_from(">I", image, 24)
    record, = struct.unpack_from(">Q", image, 80)
    iterations, salt_length = struct.unpack_from(">II", image, record + 8)
    wrapped_length, = struct.unpack_from(">I", image, record + 100)
    salt = image[record + 16:record + 16 + salt_length]
    wrapped = image[record + 104:record + 104 + wrapped_length]
    key = hashlib.pbkdf2_hmac("sha1", password, salt, iterations, 24)
    keys = decrypt(TripleDES(key), image[record + 52:record + 60], wrapped)
    keys = keys[:-keys[-1]]
    assert keys.endswith(b"CKIE\0") and len(keys) == key_bits // 8 + 25, "wrong password"
    return keys[:key_bits // 8], keys[-25:-5]


def main():
    image = open(sys.argv[1], "rb").read()
    block_size, length, offset = struct.unpack_from(">IQQ", image, 52)
    aes_key, hmac_key = keys_of(image, sys.stdin.buffer.read())
    inside = bytearray()
    for number in range((length + block_size - 1) // block_size):
        vector = hmac.new(hmac_key, struct.pack(">I", number), "sha1").digest()[:16]
        start = offset + number * block_size
        inside += decrypt(algorithms.AES(aes_key), vector, image[start:start + block_size])
    sys.stdout.buffer.write(inside[:length])


main()
