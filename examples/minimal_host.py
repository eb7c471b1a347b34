"""The smallest complete host in Python: every table that the library calls, with Python's codecs behind them.

    python3 minimal_host.py path/to/librquni.so [session encoding]

A host in Python is for trying and testing: each character of a notation costs a call from C into Python.
"""
import ctypes
import itertools
import sys
from ctypes import (CFUNCTYPE, POINTER, c_char_p, c_int32, c_int64, c_uint32, c_uint64, c_ubyte, c_void_p, cast, memmove,
                    string_at)

SUCCESS, FAILED = 0, 1
SLACK_BYTES = 8  # behind every output buffer
SESSION = 100    # this host's own identifier; those below are fixed by the interface
UNICODE_FORMS = {20: "utf-8", 24: "utf-16-be", 25: "utf-16-le", 26: "utf-32-be", 27: "utf-32-le"}

Destroy = CFUNCTYPE(c_uint32, c_void_p)
Codec = CFUNCTYPE(c_uint32, c_void_p, c_void_p, c_uint64, c_void_p, c_uint64, POINTER(c_uint64))


def table(words, entries):
    """A table of so many 8-byte words. Its entries' objects are kept alive with it."""
    result = (c_void_p * words)()
    for position, entry in entries.items():
        result[position] = cast(entry, c_void_p)
    result.entries = entries
    return result


class Pool:
    """Words 2 to 4: destroy, allocate, release. Blocks are zeroed and aligned to 8 bytes."""

    live = {}  # pools by address, until the library destroys them

    def __init__(self):
        self.blocks = {}
        self.table = table(5, {
            2: Destroy(self.destroy),
            3: CFUNCTYPE(c_void_p, c_void_p, c_uint64, c_uint64)(self.allocate),
            4: CFUNCTYPE(None, c_void_p, c_void_p)(self.release)})
        self.address = ctypes.addressof(self.table)
        Pool.live[self.address] = self

    def destroy(self, pool):
        self.blocks.clear()
        ended[:] = [Pool.live.pop(self.address)]
        return SUCCESS

    def allocate(self, pool, size, flags):
        try:
            block = (c_uint64 * (size // 8 + 1))()
        except (MemoryError, OverflowError, ValueError):
            return None
        self.blocks[ctypes.addressof(block)] = block
        return ctypes.addressof(block)

    def release(self, pool, block):
        del self.blocks[block]


class Transcoder:
    """Words 2 and 4: destroy, convert. Whole characters only, and the length is stored on failure too."""

    live = {}

    def __init__(self, source, target):
        self.source, self.target = source, target
        self.table = table(5, {
            2: Destroy(self.destroy),
            4: CFUNCTYPE(c_uint32, c_void_p, c_void_p, c_uint64, c_void_p, c_uint64, POINTER(c_uint64), c_uint64)(
                self.convert)})
        self.address = ctypes.addressof(self.table)
        Transcoder.live[self.address] = self

    def destroy(self, transcoder):
        ended[:] = [Transcoder.live.pop(self.address)]
        return SUCCESS

    def convert(self, transcoder, text, size, output, capacity, produced, flags):
        data, status = string_at(text, size), SUCCESS
        try:
            characters = data.decode(self.source)
        except UnicodeDecodeError as error:
            characters, status = data[:error.start].decode(self.source), FAILED
        result = bytearray()
        for character in characters:
            try:
                encoded = character.encode(self.target)
            except UnicodeEncodeError:
                status = FAILED
                break
            if len(result) + len(encoded) > capacity:
                status = FAILED
                break
            result += encoded
        memmove(output, bytes(result), len(result))
        produced[0] = len(result)
        return status


ended = []  # the last one destroyed: its function is still running


class Host:
    """Kernel, journal, NLS services and context, and the object that the library makes of them."""

    def __init__(self, path, session):
        self.library = ctypes.CDLL(path)
        self.encodings = {**UNICODE_FORMS, SESSION: session}
        self.kernel = table(28, {6: CFUNCTYPE(c_void_p, c_void_p, c_void_p, c_void_p, c_char_p)(
            lambda kernel, parameters, journal, description: Pool().address)})  # word 27: no case service
        self.journal = table(8, {7: CFUNCTYPE(c_uint64, c_void_p, c_uint64, c_uint64, c_void_p)(self.log)})
        self.nls = table(79, {
            14: CFUNCTYPE(c_void_p, c_void_p, c_uint64, c_uint64, c_uint64, c_uint64)(self.create_transcoder),
            78: CFUNCTYPE(c_uint32, c_void_p, POINTER(c_int32))(self.query_session)})
        self.context = table(28, {
            14: CFUNCTYPE(c_uint32, c_void_p, c_void_p, c_uint64, c_uint64, POINTER(c_int64), POINTER(c_uint64))(
                lambda *arguments: FAILED),  # no options here: the session query answers
            26: self.journal, 27: self.nls})

        self.major, self.minor = c_uint64(), c_uint64()
        self.library.rqextver(ctypes.byref(self.kernel), ctypes.byref(self.major), ctypes.byref(self.minor))
        make = self.library.rquni
        make.restype, make.argtypes = POINTER(c_void_p), (c_void_p, c_void_p)
        self.object = make(ctypes.byref(self.context), None)
        if not self.object:
            raise RuntimeError("the library made no interface object")

    def log(self, journal, level, status, arguments):
        print(f"rquni reports status {status:#x} at level {level}", file=sys.stderr)
        return 0

    def create_transcoder(self, nls, source, target, *zeros):
        return Transcoder(self.encodings[source], self.encodings[target]).address

    def query_session(self, nls, encoding):
        encoding[0] = SESSION
        return SUCCESS

    def codec(self, word, text, capacity):
        """Calls one of the plain codecs, words 60 to 66, and returns its status and output."""
        output, written = (c_ubyte * (capacity + SLACK_BYTES))(), c_uint64(0)
        status = Codec(self.object[word])(cast(self.object, c_void_p), text, len(text), output, capacity,
                                          ctypes.byref(written))
        return status, bytes(itertools.islice(output, min(written.value, capacity)))

    def close(self):
        Destroy(self.object[6])(cast(self.object, c_void_p))
        ended.clear()


def main():
    host = Host(sys.argv[1] if len(sys.argv) > 1 else "librquni.so.1",
                sys.argv[2] if len(sys.argv) > 2 else "iso-8859-1")
    status, output = host.codec(60, b"caf&#233;", 64)
    print(f"interface {host.major.value}.{host.minor.value}, status {status}: {output.hex(' ')}")
    host.close()
    return 0 if status == SUCCESS else 1


if __name__ == "__main__":
    sys.exit(main())
