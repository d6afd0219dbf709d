#!/usr/bin/python3
"""Runs every command of the companions on files made to confuse them, and judges whatever they print.

usage: hostile_runs.py PROGRAMS SOURCES [COUNT]

COUNT modules (HOSTILE_RUNS in the environment has precedence) with names that end strings, tags, pages and terminals'
patience, with sections over each other and values at their limits; every third has words changed under right checksums.
"""
import array
import collections
import json
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import xml.parsers.expat

import html5lib
import jsonschema

NAMES = [b"<script>alert(1)</script>", b'"><img src=x onerror=alert(1)>', b"]]>--><!--", b"&amp;&#65;&", b"\x1b[31m\r\n",
         b"\xe2\x80\xaegnp", b"\xff\xfe", "日本語".encode(), b"\\u003c${x}`", b"w" * 700, b"\xc2\x85\xc2\x9b2J", b"\x7f",
         b"\xef\xbf\xbe\xef\xbf\xbf", b"\xed\xa0\x80", b"\xf0\x9f\x98", b"\xc0\xaf", b"a\xcc\x81" * 30, b"\t \v", b" _",
         b"%s%n%1000000d", b"'; --", b"-o", b"\xef\xbb\xbf", b"</title></style></svg>", b"_plain", b"caf\xc3\xa9"]
LIMITS = [0, 1, 2, 0x7F, 0xFF, 0x7FFF, 0x8000, 0xFFFF, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFC, 0xFFFFFFFF]
TYPES = [0, 1, 16, 17, 22, 0x400D, 0x4012, 0x400F, 0x4016, 0x5001, 0x1234, 0xFFFF]
COFF_CLASSES = [2, 2, 2, 21, 5, 3]


def complement(order, data):
    words = array.array("I", data)
    if (order == ">") != (sys.byteorder == "big"):
        words.byteswap()
    return ~sum(words) & 0xFFFFFFFF


class Names:
    """A string table, each name once."""

    def __init__(self):
        self.places, self.table = {}, bytearray()

    def add(self, name):
        if name not in self.places:
            self.places[name] = len(self.table)
            self.table += name + b"\0"
        return self.places[name]


def packets_of(order, data, relocs):
    """The packets of a section, 1024 bytes each; relocations are (place in bytes, symbol word, displacement, type)."""
    result, later = [], collections.defaultdict(list)
    for place, *rest in relocs:
        later[place // 1024].append(struct.pack(order + "IIHH", place % 1024, *rest))
    for start in range(0, len(data), 1024):
        part = data[start:start + 1024]
        own = b"".join(later[start // 1024])
        body = part + bytes(-len(part) % 4) + own
        head = struct.pack(order + "II", len(own) // 12, len(part))
        result.append(head + struct.pack(order + "I", complement(order, head + body)) + body)
    return result


def module_bytes(order, sections, symbols, entry=(0, 0), target=0x99, name=b"app.out"):
    """`sections`: (name, run, load, page, flags, size in units, data, relocs); `symbols`: (name or None, value, section,
    class). All sums are right, and so is the rest unless the values themselves are wrong."""
    names = Names()
    names.add(name)
    for section in sections:
        names.add(section[0])
    loader_names = len(names.table)
    longest = max((len(s[0]) + 1 for s in sections), default=0)
    records = b""
    rows = []
    for symbol, value, section, storage_class in symbols:
        place = 0xFFFFFFFF if symbol is None else names.add(symbol)
        longest = max(longest, len(symbol or b"") + (symbol is not None))
        rows.append(struct.pack(order + "IIhH", place, value, section, storage_class))
    records = b"".join(rows)
    strings = bytes(names.table) + bytes(-len(names.table) % 4)
    headers, contents = b"", []
    at = 56 + len(strings) + 28 * len(sections) + len(records)
    for section, run, load, page, flags, size, data, relocs in sections:
        own = packets_of(order, data, relocs)
        headers += struct.pack(order + "4I2H2I", names.places[section], run, load, size, page, flags, at if own else 0,
                               len(own))
        contents += own
        at += sum(map(len, own))
    head = struct.pack(order + "4I8H", len(strings), entry[0], 0x00010203, loader_names, len(symbols), longest & 0xFFFF,
                       len(sections), sum(s[4] >> 4 & 1 for s in sections), 0, target, 0x1100, entry[1])
    sums = struct.pack(order + "4I", 0x65F2A1B0, *(complement(order, part) for part in (headers, strings, records)))
    return b"".join([head, struct.pack(order + "I", complement(order, head)), sums,
                     struct.pack(order + "I", complement(order, sums)), strings, headers, records, *contents])


def hostile_name(rng, number):
    name = rng.choice(NAMES)
    return name if rng.random() < .3 else name + b"%d" % number if rng.random() < .5 else b"_%d" % number + name


def hostile_module(rng, order):
    """A sound one, as far as `check` is concerned, but for its names, places and values."""
    sections, count = [], rng.choice([0, 1, 2, 3, 8, 40])
    symbols = rng.choice([0, 1, 5, 60, 300])
    for number in range(count):
        contents = rng.randbytes(rng.choice([1, 4, 1024, 1025, 5000])) if rng.random() < .7 else b""
        relocs = sorted((rng.randrange(0, len(contents) + 3) if rng.random() < .5 else rng.randrange(len(contents) // 8 + 1),
                         rng.randrange(max(symbols, 1)), rng.choice([0, 1, 0xFFFF]), rng.choice(TYPES))
                        for _ in range(rng.choice([0, 1, 20]) if contents else 0))
        run = rng.choice(LIMITS + [0x100, 0x8000])
        sections.append((hostile_name(rng, number), run, rng.choice([run, 0x400, 0xFFFFFFFF]), rng.choice([0, 1, 0xFFFF]),
                         (0x30 if contents else 0x10) | (rng.choice([0, 1]) if contents else 2),
                         len(contents) or rng.choice([0] + LIMITS), contents, relocs))
    rows = [(hostile_name(rng, n) if rng.random() < .8 else None, rng.choice(LIMITS + [0x100, 0x104]),
             rng.randrange(-2, count + 1)) for n in range(symbols)]
    return module_bytes(order, sections, [row + (3 if row[0] is None else rng.choice(COFF_CLASSES[:5]),) for row in rows],
                        (rng.choice(LIMITS), rng.choice([0, min(1, count), 0xFFFF])), name=rng.choice(NAMES))


def repaired(order, module):
    """With the checksums made right over whatever the header says."""
    word = lambda at: struct.unpack_from(order + "I", module, at)[0]
    def put_sum(place, start, end):
        struct.pack_into(order + "I", module, place, 0)
        struct.pack_into(order + "I", module, place, complement(order, module[start:end]))
    counts = struct.unpack_from(order + "3H", module, 16)
    headers = 56 + word(0)
    symbols = headers + 28 * counts[2]
    at = symbols + 12 * counts[0]
    if at <= len(module) and word(0) % 4 == 0:
        for place, start, end in ((44, 56, headers), (40, headers, symbols), (48, symbols, at)):
            put_sum(place, start, end)
        while at + 12 <= len(module):
            end = at + 12 + (word(at + 4) + 3) // 4 * 4 + 12 * word(at)
            if end > len(module):
                break
            put_sum(at + 8, at, end)
            at = end
    put_sum(52, 36, 56)
    put_sum(32, 0, 36)
    return module


def damaged(rng, order, module):
    module = bytearray(module)
    for _ in range(rng.choice([1, 1, 3])):
        place = rng.randrange(0, min(len(module), rng.choice([32, 3000])) // 4) * 4
        struct.pack_into(order + "I", module, place, rng.choice(LIMITS + [rng.getrandbits(32)]))
    return bytes(repaired(order, module))


def hostile_coff(rng, sample):
    """A linked file with other bytes in its names, and often in its records, too."""
    image = bytearray(sample)
    symbols = struct.unpack_from("<I", image, 8)[0]
    strings = symbols + 18 * struct.unpack_from("<I", image, 12)[0] + 4
    for _ in range(rng.choice([5, 50])):
        name = rng.choice(NAMES)
        place = rng.randrange(symbols, max(symbols + 1, len(image) - len(name)))
        place = max(place, strings) if rng.random() < .8 else place
        image[place:place + len(name)] = name
    for _ in range(rng.choice([0, 0, 1, 3])):
        struct.pack_into("<I", image, rng.randrange(22, max(60, len(image) // rng.choice([1, 100]) - 4)), rng.choice(LIMITS))
    return bytes(image[:len(sample)])


class Judge:
    def __init__(self, programs, sources, room):
        self.programs, self.room, self.runs, self.faults = programs, room, 0, []
        self.schemas = {}
        for name in ("velmdump", "velmdump-size", "velmdump-symbols", "coffdump"):
            with open(f"{sources}/docs/{name}.schema.json", encoding="ascii") as file:
                self.schemas[name] = json.load(file)

    def fault(self, what, words):
        self.faults.append(f"{self.case}: {' '.join(words)}: {what}")

    def run(self, *words, form="text", schema=None, path=None):
        """A run, and what is wrong with it. Returns the output, or nothing when it is refused."""
        self.runs += 1
        try:
            done = subprocess.run([f"{self.programs}/{words[0]}", *words[1:]], cwd=self.room, capture_output=True,
                                  timeout=60, check=False)
        except subprocess.TimeoutExpired:
            return self.fault("hangs", words)
        if done.returncode not in (0, 1, 2):
            self.fault(f"status {done.returncode} {done.stderr[-200:]}", words)
        out = done.stdout
        for text, own in ((done.stderr, "text"), (out, form)):
            for problem in getattr(self, "judge_" + own)(text, schema) if text else ():
                self.fault(problem, words)
        return out if done.returncode == 0 else None

    @staticmethod
    def judge_raw(_out, _schema):
        return ()

    @staticmethod
    def judge_text(out, _schema):
        text = out.decode("latin-1")
        for pattern, what in ((r"[^\n -~]", "raw byte"), (r"[ \t]+\n", "trailing blank"), (r"[^\n]\Z", "no last line break"),
                              (r"\b0x[0-9A-F]*[a-f]", "small hex digit"),
                              (r"(?<![\w.,:/+-])1 (?!class|address|nameless|has)[a-z]+s\b", "plural of one")):
            found = re.search(pattern, text)
            if found:
                yield f"{what} in {text[max(0, found.start() - 60):found.end() + 60]!r}"

    def judge_json(self, out, schema):
        if any(byte > 126 or byte < 32 and byte != 10 for byte in out):
            yield "raw byte in JSON"
        name, _, part = schema.partition("#")
        rules = dict(self.schemas[name])
        if part:
            rules["$ref"] = "#/$defs/" + part
        try:
            error = jsonschema.exceptions.best_match(jsonschema.Draft202012Validator(rules).iter_errors(json.loads(out)))
        except ValueError as found:
            error = found
        if error:
            yield str(error)[:300]

    @staticmethod
    def judge_xml(out, _schema):
        if any(byte < 32 and byte != 10 or byte == 127 for byte in out):
            yield "raw byte in XML"
        try:
            xml.parsers.expat.ParserCreate().Parse(out, True)
        except xml.parsers.expat.ExpatError as error:
            yield str(error)

    def judge_html(self, out, schema):
        yield from self.judge_xml(out, schema)
        parser = html5lib.HTMLParser(strict=False)
        parser.parse(out, transport_encoding="utf-8")
        for place, code, _ in parser.errors[:1]:
            yield f"{code} at {place}: {out.splitlines()[place[0] - 1][-300:]!r}"

    def module(self, case, content, order):
        self.case = case
        self.write("m.vlm", content)
        run = lambda command, *more, **keywords: self.run("velmdump", command, *more, "m.vlm", **keywords)
        run("show")
        run("show", "--all")
        run("show", "--json", form="json", schema="velmdump#module")
        sound = run("check") is not None
        run("check", "--json", "--strict", form="json", schema="velmdump#checks")
        for command in ("exports", "imports"):
            run(command)
            run(command, "--json", form="json", schema="velmdump#" + command)
        run("imports", "--against", "base.vlm")
        run("diff", "base.vlm")
        run("diff", "--json", "base.vlm", form="json", schema="velmdump#diff")
        self.run("velmdump", "verify", "m.vlm", "base.out")
        run("size", "--sections")
        run("size", "--against", "base.vlm", "--json", form="json", schema="velmdump-size")
        run("symbols", "--sort=size")
        run("symbols", "--all", "--json", form="json", schema="velmdump-symbols")
        self.run("velmdump", "extract", "m.vlm", "1", "-o", "-", form="raw")
        run("map", "-o", "-", form="xml")
        run("report", "-o", "-", form="html")
        turned = run("convert", "--byte-order", "big" if order == "<" else "little", "--form=text", "-o", "-", form="raw")
        if sound != (turned is not None):
            self.fault("converts what is unsound" if turned else "does not convert", ["convert"])
        if turned:
            self.write("t.hex", turned)
            back = self.run("velmdump", "convert", "t.hex", "--byte-order", "little" if order == "<" else "big",
                            "--form=binary", "-o", "-", form="raw")
            if back != content:
                self.fault("not the same there and back", ["convert"])

    def coff(self, case, content):
        self.case = case
        self.write("h.out", content)
        self.run("coffdump", "h.out")
        self.run("coffdump", "--all", "h.out")
        self.run("coffdump", "--xml", "h.out", form="xml")
        self.run("coffdump", "--json", "h.out", form="json", schema="coffdump")
        self.run("coffdump", "check", "h.out", "-e", "h.entries")
        self.run("coffdump", "check", "--json", "h.out", "-e", "h.entries", form="json", schema="coffdump#check")
        self.run("coffdump", "entries", "h.out", "h.entries")

    def write(self, name, content):
        with open(os.path.join(self.room, name), "wb") as file:
            file.write(content)


def main():
    programs, sources = sys.argv[1:3]
    count = int(os.environ.get("HOSTILE_RUNS") or (sys.argv[3:] or ["30"])[0])
    rng = random.Random(1)
    with tempfile.TemporaryDirectory() as room:
        judge = Judge(os.path.abspath(programs), sources, room)
        samples = []
        for name in ("audio", "blink"):
            with open(f"{sources}/examples/{name}.out", "rb") as file:
                samples.append(file.read())
        judge.write("base.out", samples[0])
        with open(f"{sources}/examples/audio.vlm", "rb") as file:
            judge.write("base.vlm", file.read())
        for number in range(count):
            order = rng.choice("<>")
            module = hostile_module(rng, order)
            if number % 3 == 2:
                module = damaged(rng, order, module)
            judge.module(f"module {number}", module, order)
            judge.write("h.entries", b" ".join(rng.choice([b"", b"@", b"^", b"-", b"!"]) + rng.choice(NAMES)
                                               for _ in range(20)))
            judge.coff(f"COFF file {number}", hostile_coff(rng, rng.choice(samples)))
        print(f"{count} modules and COFF files, {judge.runs} runs, {len(judge.faults)} faults")
    print("\n".join(judge.faults[:40]))
    sys.exit(bool(judge.faults))


if __name__ == "__main__":
    main()
