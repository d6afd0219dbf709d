#!/usr/bin/python3
"""Runs every command of the companions on files made to confuse them, and judges whatever they print.

usage: hostile_runs.py PROGRAMS SOURCES [COUNT [MEGABYTES]]

COUNT linked files of the fuzz corpus (HOSTILE_RUNS in the environment has precedence), and modules made of them, with
names that end strings, tags, pages and terminals' patience, and sections over each other; every third module has words
changed under right checksums, and most linked files are broken, too, before coffdump sees them. MEGABYTES: the memory
of a run.
"""
import array
import json
import os
import pathlib
import random
import re
import resource
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
# A file name like the others, but for the slash and the NUL that none may have.
INPUT = os.fsdecode(b'"><b>&\x1b[31m\xff\n.out')

# Commands of the companions by what they print; of JSON, the schema comes first. Neither -o nor an input: m.vlm is it.
MODULE_RUNS = {
    "text": ["show", "show --all", "check", "exports", "imports", "imports --against base.vlm", "diff base.vlm",
             "size --sections", "symbols --sort=size"],
    "json": ["velmdump#module show", "velmdump#checks check --strict", "velmdump#exports exports",
             "velmdump#imports imports", "velmdump#diff diff base.vlm", "velmdump-size size --against base.vlm",
             "velmdump-symbols symbols --all"],
    "xml": ["map -o -"], "html": ["report -o -"]}
COFF_RUNS = {
    "text": ["h.out", "--all h.out", "check h.out -e h.entries", "entries h.out h.entries"],
    "json": ["coffdump h.out", "coffdump#check check h.out -e h.entries"], "xml": ["--xml h.out"]}


def complement(order, data):
    words = array.array("I", data)
    if (order == ">") != (sys.byteorder == "big"):
        words.byteswap()
    return ~sum(words) & 0xFFFFFFFF


def hostile_name(rng, number):
    name = rng.choice(NAMES)
    return name if rng.random() < .3 else name + b"%d" % number if rng.random() < .5 else b"_%d" % number + name


def renamed(rng, sample):
    """A linked file that still converts: with other names, and sections and symbols at other addresses."""
    image = bytearray(sample)
    order = "<" if image[0] == 0xC2 else ">"
    sections, symbols, entries, optional = struct.unpack_from(order + "2xH4x2IH", image)
    strings = symbols + 18 * entries
    places = [22 + optional + 48 * number for number in range(sections)]
    at = symbols
    while at < strings:
        places.append(at)
        at += 18 * (1 + image[at + 17])
    for number, place in enumerate(places):
        if rng.random() < .8:
            struct.pack_into(order + "2I", image, place, 0, len(image) - strings)
            image += hostile_name(rng, number) + b"\0"
        if rng.random() < .2:
            struct.pack_into(order + "I", image, place + 8, rng.choice(LIMITS + [0x100, 0x104, 0x8000]))
    struct.pack_into(order + "I", image, strings, len(image) - strings)
    return image


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
    for _ in range(rng.choice([1, 1, 3])):
        place = rng.randrange(0, min(len(module), rng.choice([32, 3000])) // 4) * 4
        struct.pack_into(order + "I", module, place, rng.choice(LIMITS + [rng.getrandbits(32)]))
    return repaired(order, module)


def broken(rng, image):
    """Often with values at their limits, sometimes cut short."""
    for _ in range(rng.choice([0, 0, 1, 3])):
        struct.pack_into("<I", image, rng.randrange(22, max(60, len(image) // rng.choice([1, 100]) - 4)), rng.choice(LIMITS))
    return image[:rng.randrange(len(image))] if rng.random() < .2 else image


def out_of_proportion():
    """Files whose listings would be hundreds of times as long if everything in them were listed wherever it stands."""
    def image(sections, body, symbols, strings):
        at = 22 + 48 * len(sections)
        tables = b"".join(name.ljust(8, b"\0") + struct.pack("<9I4x", 0, 0, size, at, at, at, relocs, lines, 0x20)
                          for name, size, relocs, lines in sections)
        return (struct.pack("<2H3I3H", 0xC2, len(sections), 0, at + len(body), len(symbols) // 18, 0, 0x100, 0x99) +
                tables + body + symbols + struct.pack("<I", 4 + len(strings)) + strings)
    named = struct.pack("<2Ii2H2B", 0, 4, 0, 1, 0, 2, 0)
    name, text = b"n" * 40000 + b"\0", (b".text", 0, 0, 0)
    yield "one name of all symbols", image([text], b"", named * 1000, name)
    yield "one name of all relocations", image([(b".text", 12000, 1000, 0)], struct.pack("<2I2H", 0, 0, 0, 17) * 1000,
                                               named, name)
    yield "one place of all sections", image([(b".text", 12000, 1000, 2000)] * 400, bytes(12000), named, b"n\0")


class Judge:
    def __init__(self, programs, sources, room, memory):
        self.programs, self.room, self.memory, self.runs, self.faults = programs, room, memory, 0, []
        self.schemas = {path.name.split(".")[0]: json.loads(path.read_text("ascii"))
                        for path in pathlib.Path(sources, "docs").glob("*.schema.json")}

    def fault(self, what, words):
        self.faults.append(f"{self.case}: {' '.join(words)}: {what}")

    def run(self, *words, form="text", schema=None):
        """A run, and what is wrong with it. Returns the output, or nothing when it is refused."""
        self.runs += 1
        try:
            done = subprocess.run([f"{self.programs}/{words[0]}", *words[1:]], cwd=self.room, capture_output=True,
                                  timeout=60, check=False,
                                  preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_AS, (self.memory, self.memory)))
        except subprocess.TimeoutExpired:
            return self.fault("hangs", words)
        if done.returncode not in (0, 1, 2):
            self.fault(f"status {done.returncode} {done.stderr[-200:]}", words)
        for text, own in ((done.stderr, "text"), (done.stdout, form)):
            for problem in getattr(self, "judge_" + own)(text, schema) if text and own != "raw" else ():
                self.fault(problem, words)
        if words[0] == "coffdump" and len(done.stdout) > 256 * self.size + (1 << 22):
            self.fault(f"prints {len(done.stdout)} bytes about {self.size}", words)
        if done.returncode == 0 and form in ("json", "xml", "html") and not done.stdout:
            self.fault("prints nothing", words)
        return done.stdout if done.returncode == 0 else None

    @staticmethod
    def judge_text(out, _schema):
        text = out.decode("latin-1")
        # Neither the text column of a hex dump nor the converter's words are the companions' own.
        own = re.sub(r"(?m)(?<=  \|).*(?=\|$)|(?<=^    modforge says: ).*", "", text)
        plural = r"(?<![\w.,:/+-])1 (?!class|address|nameless|has|lies|\w+ \d|(relocations|line numbers) of)[a-z]+s\b"
        for pattern, what, where in ((r"[^\n -~]", "raw byte", text), (r"[ \t]+\n", "trailing blank", text),
                                     (r"[^\n]\Z", "no last line break", text),
                                     (r"\b0x[0-9A-F]*[a-f]", "small hex digit", own), (plural, "plural of one", own)):
            if found := re.search(pattern, where):
                yield f"{what} in {where[max(0, found.start() - 60):found.end() + 60]!r}"

    def judge_json(self, out, schema):
        if any(byte > 126 or byte < 32 and byte != 10 for byte in out):
            yield "raw byte in JSON"
        name, _, part = schema.partition("#")
        rules = self.schemas[name] | ({"$ref": "#/$defs/" + part} if part else {})
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

    def runs_of(self, program, table, *last):
        for form, commands in table.items():
            for command in commands:
                words = command.split() + ["--json"] * (form == "json")
                schema = words.pop(0) if form == "json" else None
                self.run(program, *words, *last, form=form, schema=schema)

    def made(self, image, order):
        """The module that modforge makes of it, whose messages have names as they are."""
        self.write(INPUT, image)
        subprocess.run([f"{self.programs}/modforge", "-o=h.vlm", INPUT], cwd=self.room, capture_output=True, check=True)
        return bytearray(self.run("velmdump", "convert", "h.vlm", "--byte-order", order, "-o", "-", form="raw"))

    def module(self, case, content, order, other):
        self.case = case
        self.write("m.vlm", content)
        self.runs_of("velmdump", MODULE_RUNS, "m.vlm")
        self.run("velmdump", "verify", "m.vlm", "base.out")
        self.run("velmdump", "extract", "m.vlm", "1", "-o", "-", form="raw")
        sound = self.run("velmdump", "check", "m.vlm") is not None
        turned = self.run("velmdump", "convert", "m.vlm", "--byte-order", other, "--form=text", "-o", "-", form="raw")
        if sound != (turned is not None):
            self.fault("converts what is unsound" if turned else "does not convert", ["convert"])
        if turned:
            self.write("t.hex", turned)
            if self.run("velmdump", "convert", "t.hex", "--byte-order", order, "--form=binary", "-o", "-",
                        form="raw") != content:
                self.fault("not the same there and back", ["convert"])

    def coff(self, case, content):
        self.case, self.size = case, len(content)
        self.write("h.out", content)
        self.runs_of("coffdump", COFF_RUNS)

    def write(self, name, content):
        pathlib.Path(self.room, name).write_bytes(content)


def main():
    programs, sources = sys.argv[1:3]
    count = int(os.environ.get("HOSTILE_RUNS") or (sys.argv[3:] or ["30"])[0])
    rng = random.Random(1)
    with tempfile.TemporaryDirectory() as room:
        memory = int(sys.argv[4]) << 20 if len(sys.argv) > 4 else resource.RLIM_INFINITY
        judge = Judge(os.path.abspath(programs), sources, room, memory)
        samples = [path.read_bytes() for path in sorted(pathlib.Path(sources, "fuzz/corpus/coff_reader").iterdir())]
        for name in ("base.out", "base.vlm"):
            judge.write(name, pathlib.Path(sources, "examples", name.replace("base", "audio")).read_bytes())
        judge.write("h.entries", b"^_")
        for sample in samples:
            judge.coff("COFF file as it is", sample)
        for shape, content in out_of_proportion():
            judge.coff(shape, content)
        for number in range(count):
            order, other = rng.sample(("little", "big"), 2)
            image = renamed(rng, rng.choice(samples))
            judge.case = f"COFF file {number}"
            module = judge.made(image, order)
            if number % 3 == 2:
                module = damaged(rng, "<" if order == "little" else ">", module)
            judge.module(f"module {number}", module, order, other)
            judge.write("h.entries", b" ".join(rng.choice([b"", b"@", b"^", b"-", b"!"]) + rng.choice(NAMES)
                                               for _ in range(20)))
            judge.coff(f"COFF file {number}", broken(rng, image))
        print(f"{count} modules and COFF files, {judge.runs} runs, {len(judge.faults)} faults")
    print("\n".join(judge.faults[:40]))
    sys.exit(bool(judge.faults))


if __name__ == "__main__":
    main()
