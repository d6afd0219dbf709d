"""The inputs of the measurements: what each holds, and how it is written.

An input is described by a Shape and written as a COFF file by write_coff(). write_elf() writes its twin for programs that
do the like with ELF files: relocation records of 12 bytes and symbols of 16, the sizes nearest to ours that the native
objcopy knows (x32). All is drawn with a fixed seed: the same files every time.
"""
import array
import random
import struct
import sys
from dataclasses import dataclass

KIB, MIB = 1 << 10, 1 << 20

WORDS = ("motor driver bus frame signal channel buffer queue timer clock sensor filter state update handle reset config "
         "table entry index torque speed limit fault monitor store parse encode decode begin end next value").split()


def short_name(rng, number):
    return f"_{rng.choice(WORDS)}_{number}"


def long_name(rng, number):
    """Like a mangled one, of 20 to 60 characters."""
    wanted, name, tail = rng.randint(20, 60), "_ZN", f"v{number}Ev"
    while len(name) + len(tail) < wanted:
        word = rng.choice(WORDS)
        name += f"{len(word)}{word}"
    return name[:60 - len(tail)] + tail


def equal_name(_, number):
    """The long names of only a hundred symbols, again and again."""
    return long_name(random.Random(number % 100), number % 100)


def prefixed_name(_, number):
    return f"_ZN{'6device7channel' * 3}v{number:06}Ev"


@dataclass(frozen=True)
class Shape:
    contents: int           # bytes, over all sections
    sections: int
    relocs: int             # spread evenly over the sections, over random words in each
    symbols: int
    name: object = short_name
    kept: int = 0           # symbols that are external, and so kept; the others nobody uses. 0: all
    per_address: int = 1    # relocations at one address
    dropped: int = 0        # bytes in a section of debugging information
    lines: int = 0          # line numbers of the first section
    debug_symbols: int = 0  # behind the others


def pack(words):
    """32-bit words, little-endian."""
    table = array.array("I", words)
    if sys.byteorder == "big":
        table.byteswap()
    return table.tobytes()


class Parts:
    """What an input and its twin have in common."""

    def __init__(self, shape):
        self.shape, self.rng = shape, random.Random(1)
        each = shape.contents // shape.sections // 4 * 4
        self.sizes = [each] * shape.sections
        self.names = [shape.name(self.rng, n) for n in range(shape.symbols)]
        kept = shape.kept or shape.symbols
        self.external = [n for n in range(shape.symbols) if n * kept // shape.symbols != (n - 1) * kept // shape.symbols]
        self.symbol_sections = self.rng.choices(range(shape.sections), k=shape.symbols)

    def contents(self, size, write):
        for at in range(0, size, MIB):
            write(self.rng.randbytes(min(MIB, size - at)))

    def relocs(self):
        """For each section the bytes from its start and the symbols of its relocations."""
        for i, size in enumerate(self.sizes):
            count = self.shape.relocs // self.shape.sections + (i < self.shape.relocs % self.shape.sections)
            distinct = -(-count // self.shape.per_address)
            places = sorted(self.rng.sample(range(0, size, 4), distinct))
            yield ([places[k // self.shape.per_address] for k in range(count)], self.rng.choices(self.external, k=count))


class StringTable:
    def __init__(self, start):
        self.data = bytearray(start)

    def add(self, name):
        self.data += name.encode() + b"\0"
        return len(self.data) - len(name) - 1


def coff_symbol(strings, name, value, section, storage_class):
    if len(name) <= 8:
        return struct.pack("<8siHHBB", name.encode(), value, section, 0, storage_class, 0)
    return struct.pack("<IIiHHBB", 0, strings.add(name), value, section, 0, storage_class, 0)


def write_coff(path, shape):
    parts = Parts(shape)
    strings = StringTable(b"\0\0\0\0")
    sizes = parts.sizes + ([shape.dropped] if shape.dropped else [])
    with open(path, "wb") as file:
        file.write(bytes(22 + 48 * len(sizes)))
        headers, address = [], 0x1000
        relocs = list(parts.relocs())
        for i, size in enumerate(sizes):
            debug = i == shape.sections
            contents = file.tell()
            parts.contents(size, file.write)
            places, symbols = relocs[i] if not debug else ([], [])
            relptr = file.tell()
            table = [0x00110000] * (3 * len(places))  # no displacement, a 32-bit address
            table[0::3] = [address + place for place in places]
            table[1::3] = symbols
            file.write(pack(table))
            lines, lnnoptr = shape.lines if i == 0 else 0, file.tell()
            file.write(b"".join(struct.pack("<IH", address + 4 * n % size, n & 0x7FFF or 1) for n in range(lines)))
            name = ".debug_info" if debug else f".text:{i}"
            named = name.encode().ljust(8, b"\0") if len(name) <= 8 else struct.pack("<II", 0, strings.add(name))
            headers.append(named + struct.pack("<9IBBH", address, address, size, contents, relptr, lnnoptr, len(places),
                                               lines, 0x10 if debug else 0x20, 0, 0, 0))
            address += size + 64
        symptr, external = file.tell(), set(parts.external)
        for n, name in enumerate(parts.names):
            file.write(coff_symbol(strings, name, 4 * n % parts.sizes[0], 1 + parts.symbol_sections[n],
                                   2 if n in external else 3))
        for n in range(shape.debug_symbols):  # members of structures
            file.write(coff_symbol(strings, short_name(parts.rng, n), n, 0xFFFF, 8))
        struct.pack_into("<I", strings.data, 0, len(strings.data))
        file.write(strings.data)
        file.seek(0)
        file.write(struct.pack("<HHIIIHHH", 0xC2, len(sizes), 0x12345678, symptr, shape.symbols + shape.debug_symbols, 0,
                               0x1100, 0x99))
        file.write(b"".join(headers))


def write_entries(path, shape, symbols, prefixes, sections):
    """So many names and so many prefixes of other names, and sections, of which most do not exist."""
    names = Parts(shape).names
    lines = names[:symbols] + ["^" + name[:-3] for name in names[symbols:symbols + prefixes]]
    lines += [f"-@.text:{n}" for n in range(sections)]
    with open(path, "w", encoding="ascii") as file:
        file.write("\n".join(lines) + "\n")


def write_elf(path, shape):
    parts, count = Parts(shape), shape.sections
    strings, section_names = StringTable(b"\0"), StringTable(b"\0")
    heads = [(0,) * 10]
    with open(path, "wb") as file:
        file.write(bytes(52))

        def section(name, kind, flags, data, link=0, info=0, align=4, entry=0):
            file.write(bytes(-file.tell() % align))
            at = file.tell()
            data(file.write)
            heads.append((section_names.add(name), kind, flags, 0, at, file.tell() - at, link, info, align, entry))

        for i, size in enumerate(parts.sizes):
            section(f".text.{i}", 1, 6, lambda write, size=size: parts.contents(size, write), align=16)
        for i, (places, symbols) in enumerate(parts.relocs()):
            table = [0] * (3 * len(places))
            table[0::3] = places
            table[1::3] = [(n + 1 + count) << 8 | 10 for n in symbols]  # R_X86_64_32
            section(f".rela.text.{i}", 4, 0x40, lambda write, table=table: write(pack(table)), 2 * count + 1, i + 1, 4, 12)
        symbols = [bytes(16)] + [struct.pack("<IIIBBH", 0, 0, 0, 3, 0, i + 1) for i in range(count)]
        symbols += [struct.pack("<IIIBBH", strings.add(name), 4 * n % parts.sizes[0], 0, 0x12, 0,
                                1 + parts.symbol_sections[n]) for n, name in enumerate(parts.names)]
        section(".symtab", 2, 0, lambda write: write(b"".join(symbols)), 2 * count + 2, 1 + count, 4, 16)
        section(".strtab", 3, 0, lambda write: write(strings.data), align=1)
        section(".shstrtab", 3, 0, lambda write: write(section_names.data + b".shstrtab\0"), align=1)
        file.write(bytes(-file.tell() % 4))
        table_at = file.tell()
        file.write(b"".join(struct.pack("<10I", *head) for head in heads))
        file.seek(0)
        file.write(b"\x7fELF\x01\x01\x01" + bytes(9))
        file.write(struct.pack("<HHIIIIIHHHHHH", 1, 62, 1, 0, 0, table_at, 0, 52, 0, 0, 40, len(heads), len(heads) - 1))
