"""Changes what a transport stream says it holds."""

# Descriptors
HDMV = b"\x05\x04HDMV"
CUEI = b"\x05\x04CUEI"
TELETEXT = b"\x56\x05ger\x09\x00"
DVB_SUBTITLES = b"\x59\x08ger\x10\x00\x01\x00\x01"


def crc(data):
    value = 0xffffffff
    for byte in data:
        value ^= byte << 24
        for _ in range(8):
            value = (value << 1 ^ (0x04c11db7 if value & 0x80000000 else 0)) & 0xffffffff
    return value


def _section(data, start):
    """(begin, length) of the table that begins in this packet; None when none does."""
    if not data[start + 1] & 0x40:
        return None
    begin = start + 4
    if data[start + 3] & 0x20:
        begin += 1 + data[begin]
    begin += 1 + data[begin]  # the pointer
    return begin, ((data[begin + 1] & 0x0f) << 8 | data[begin + 2]) + 3


def _identity(data, start):
    return (data[start + 1] & 0x1f) << 8 | data[start + 2]


def with_streams(data, streams, program=b"", size=188):
    """The stream with more entries in its map of streams. `streams`: (type, identity, descriptors);
    `program`: descriptors of the whole. `size` is that of the packets, 188 or 192."""
    data = bytearray(data)
    maps = set()
    for start in range(size - 188, len(data) - 187, size):
        identity = _identity(data, start)
        if identity != 0 and identity not in maps:
            continue
        section = _section(data, start)
        if section is None:
            continue
        begin, length = section
        if identity == 0:
            for entry in range(begin + 8, begin + length - 4, 4):
                if data[entry] << 8 | data[entry + 1]:
                    maps.add((data[entry + 2] & 0x1f) << 8 | data[entry + 3])
            continue
        known = (data[begin + 10] & 0x0f) << 8 | data[begin + 11]
        own = bytes(data[begin + 12:begin + 12 + known]) + program
        rest = bytes(data[begin + 12 + known:begin + length - 4])
        for kind, number, descriptors in streams:
            rest += bytes([kind, 0xe0 | number >> 8, number & 0xff, 0xf0 | len(descriptors) >> 8,
                           len(descriptors) & 0xff]) + descriptors
        table = bytes(data[begin:begin + 10]) + bytes([0xf0 | len(own) >> 8, len(own) & 0xff])
        table = bytearray(table + own + rest)
        told = len(table) + 4 - 3
        table[1], table[2] = table[1] & 0xf0 | told >> 8, told & 0xff
        table += crc(table).to_bytes(4, "big")
        room = start + 188 - begin
        assert len(table) <= room
        data[begin:start + 188] = table + b"\xff" * (room - len(table))
    return bytes(data)


def without_delimiters(data):
    """H.264 whose access unit delimiters became units that decoders leave out."""
    return data.replace(b"\x00\x00\x00\x01\x09\xf0", b"\x00\x00\x00\x01\x1e\xf0")
