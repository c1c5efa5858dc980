"""What a hostile server makes of its answers. All follows from a source of chance."""

# How far into a stream its first faults may be: short answers have to be hit as well as long ones.
REACHES = (1, 8, 16, 64, 256, 1024, 4096)
COUNTS = (1, 1, 1, 2, 4, 16)
ODD_BYTES = (0x00, 0x01, 0x0A, 0x20, 0x22, 0x2F, 0x3C, 0x7F, 0x80, 0xFE, 0xFF)
ODD_NUMBERS = (0, 1, 2, 0x7F, 0xFFFF, 0x10000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF)
FLOOD_BYTES = 2 << 20


class Mangling:
    """Faults at some places of one stream."""

    def __init__(self, chance, tokens=(b'',), start=0, reaches=REACHES):
        self._chance = chance
        self._tokens = tokens
        reach = chance.choice(reaches)
        self._places = sorted({start + chance.randrange(reach) for _ in range(chance.choice(COUNTS))})
        self._passed = 0
        self.has_begun = False
        self.ends = False  # Nothing comes behind what was handed out last.
        self.resets = chance.random() < 0.5  # Connections end without a goodbye.

    def feed(self, data):
        """What goes on in place of the next piece."""
        end = self._passed + len(data)
        places = [place - self._passed for place in self._places if self._passed <= place < end]
        mangled = bytearray(data)
        # Backwards, as each may change what is behind it.
        for place in reversed(places):
            self._mangle(mangled, place)
        self._passed = end
        self.has_begun |= bool(places)
        return bytes(mangled)

    def _mangle(self, data, place):
        chance = self._chance
        match chance.randrange(10):
            case 0:
                data[place] ^= 1 << chance.randrange(8)
            case 1:
                data[place] = chance.choice(ODD_BYTES)
            case 2:
                number = chance.choice(ODD_NUMBERS).to_bytes(4, chance.choice(('big', 'little')))
                data[place:place + 4] = number
            case 3:
                del data[place:place + chance.choice((1, 2, 16, 1024))]
            case 4:
                data[place:place] = chance.randbytes(chance.choice((1, 2, 16, 1024)))
            case 5 | 6:
                data[place:place] = chance.choice(self._tokens) * chance.choice((1, 1, 1, 2, 100))
            case 7:
                data[place:place] = data[:place] * chance.choice((1, 2, 100))
            case 8:
                data[place:place] = chance.choice((b'\0', b'A', b'\n', b'\xff')) * FLOOD_BYTES
            case _:
                del data[place:]
                self.ends = True


def mangled(chance, data, **options):
    """One piece that is all there is, such as a document or a datagram."""
    return Mangling(chance, **options).feed(data)
