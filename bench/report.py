"""Makes the page bench/results.md, and the data of its chart, of the figures.

These are lines of figure, library, operation, document and value, with tabs
between. All means are geometric ones over the documents.
"""
import math
from collections import defaultdict

LIBRARIES = {
    "vorn": "this library", "rapidjson": "RapidJSON", "cjson": "cJSON",
    "json-c": "json-c", "jansson": "Jansson", "nlohmann": "nlohmann/json",
    "jsoncpp": "JsonCpp"}
OTHERS = list(LIBRARIES)[1:]
OPERATIONS = {
    "parse": "parse and release", "write-compressed": "write compressed",
    "write-formatted": "write formatted", "clone": "clone and release",
    "compare": "compare"}
HEAPS = {
    ("live", "parse"): "held by a tree",
    ("peak", "parse"): "at most in a parse",
    ("peak", "write-compressed"): "at most in a write, compressed",
    ("peak", "write-formatted"): "at most in a write, formatted"}
TARGETS = ("x86-64 -O2", "x86-64 -Os", "armhf -O2", "armhf -Os")
GROWTHS = {
    "numbers": "array of numbers", "strings": "array of strings",
    "records": "array of small records", "object": "one object"}

PAGE = """# Figures

Made by `scripts/bench` with GCC {compiler} at `-O2`, Debian's packages of the other libraries, and
these documents (bytes): {documents}.
The figures are geometric means over them.

## Side by side

Instructions and processor time for each byte of the document, with the monitors; of the other
libraries as multiples of this library's. Heap for each byte of the text that is read or written,
in brackets without what the monitors take for themselves. Shared objects are stripped; those of
the others are as Debian builds them, and two libraries are headers alone.

{side_by_side}

## Instructions of this library, as multiples of the others'

{beside_two}

## Heap of this library, bytes for each byte of text

{heaps}

## Parse and release, with tracing on and as the first of a process

{tracing}
"""
REAL_TIME = """
## Parse and release in a real-time thread, on one processor

{real_time}
"""
TOOL = """
## The tool, formatting a large text

Processor time for each byte, and the most memory of the process, with a text of {size} MB.

{tool}
"""
GROWTH = """
## Parse and release, from 1,000 to 1,000,000 values

{growth}
"""


def digits(number):
    """The number with three significant digits."""
    for least, places in ((99.95, 0), (9.995, 1), (0.9995, 2)):
        if number >= least:
            return f"{number:.{places}f}"
    return f"{number:.3f}"


def row(*cells):
    return f"| {' | '.join(cells)} |"


def table(head, rows):
    return "\n".join((head, "|---" * (head.count("|") - 1) + "|", *rows))


class Figures:
    def __init__(self, lines):
        self.texts = {}
        self.values = defaultdict(list)  # without the documents
        for line in lines:
            *key, text = line.rstrip("\n").split("\t")
            self.texts[tuple(key)] = text
            if key[0] not in ("version", "size"):
                self.values[tuple(key[:3])].append(float(text))

    def mean(self, *key):
        logarithms = [math.log(value if value > 0 else 1e-9)
                      for value in self.values[key]]
        return math.exp(sum(logarithms) / len(logarithms))

    def ratio(self, figure, library, operation, base):
        return (self.mean(figure, library, operation) /
                self.mean(figure, base, operation))

    def shown(self, *key):
        return digits(self.mean(*key)) if key in self.values else "-"

    def compared(self, figure, unit):
        for name, title in OPERATIONS.items():
            yield row(f"{title}, {unit}", self.shown(figure, "vorn", name),
                      *(f"x {digits(self.ratio(figure, other, name, 'vorn'))}"
                        for other in OTHERS))

    def heaps_compared(self):
        for (figure, name), title in HEAPS.items():
            unit = ", bytes a byte" if figure == "live" else ""
            own = self.shown(figure, "vorn", name)
            apart = self.shown(figure + "-apart", "vorn", name)
            yield row(f"heap {title}{unit}", f"{own} ({apart})",
                      *(self.shown(figure, other, name) for other in OTHERS))

    def sizes(self):
        for target in TARGETS:
            if ("size", "vorn", target, "-") in self.texts:
                yield row(f"shared object, bytes, {target}",
                          *(self.texts.get(("size", library, target, "-"), "-")
                            for library in LIBRARIES))

    def side_by_side(self):
        versions = (f"{LIBRARIES[other]} {self.texts['version', other, '-', '-']}"
                    for other in OTHERS)
        return table(row("", LIBRARIES["vorn"], *versions), (
            *self.compared("instructions", "instructions a byte"),
            *self.compared("time", "ns a byte"),
            *self.heaps_compared(), *self.sizes()))

    def beside_two(self):
        def cells(name):
            for other in ("cjson", "rapidjson"):
                yield digits(self.ratio("instructions", "vorn", name, other))
            own = self.mean("instructions-apart", "vorn", name)
            share = 1 - own / self.mean("instructions", "vorn", name)
            yield f"{100 * share:.1f}"
        return table("| | x cJSON | x RapidJSON | the monitors' share, % |",
                     (row(title, *cells(name))
                      for name, title in OPERATIONS.items()))

    def heaps(self):
        return table("| | x86-64 | and the monitors' | armhf | and the monitors' |",
                     (row(title, *(self.shown(figure + kind, "vorn", name)
                                   for kind in ("-apart", "", "-apart-armhf",
                                                "-armhf")))
                      for (figure, name), title in HEAPS.items()))

    def tracing(self):
        def cells(figure, kind):
            yield self.shown(figure, kind, "parse")
            for base in ("off", "cjson"):
                yield digits(self.ratio(figure, kind, "parse", base))
        return table("| | ns a byte | x tracing off | x cJSON |",
                     (row(title, *cells(figure, kind)) for title, figure, kind in (
                         ("tracing off", "tracing", "off"),
                         ("tracing on", "tracing", "on"),
                         ("the first, tracing off", "first", "off"))))

    def real_time(self):
        return table("| | parses | the longest, ms |",
                     (row(title, *(self.shown(f"real-time-{figure}", kind, "parse")
                                   for figure in ("count", "longest")))
                      for kind, title in (
                          ("alone", "alone"),
                          ("beside", "beside two ordinary threads"))))

    def growth(self):
        def cells(kind):
            for figure, places in (("growth", 0), ("growth-time", 1)):
                few, many = (
                    float(self.texts[figure, "vorn", "parse", f"{kind}-{count}"])
                    for count in (1000, 1000000))
                yield f"{few:.{places}f}"
                yield f"{many:.{places}f}"
                yield f"x {many / few:.2f}"
        return table("| | instructions a value of 1,000 | of 1,000,000 | growth "
                     "| ns a value of 1,000 | of 1,000,000 | growth |",
                     (row(title, *cells(kind))
                      for kind, title in GROWTHS.items()))

    def tool(self):
        own = self.mean("tool-time", "vjson format", "-")

        def cells(name):
            yield self.shown("tool-time", name, "-")
            yield "x " + digits(self.mean("tool-time", name, "-") / own)
            yield self.shown("tool-memory", name, "-")
        return table("| | ns a byte | | MB |",
                     (row(f"`{name}`", *cells(name))
                      for name in ("vjson format", "jq .")))

    def page(self):
        documents = (f"{key[3]} ({text})" for key, text in self.texts.items()
                     if key[0] == "bytes")
        page = PAGE.format(
            compiler=self.texts["version", "-", "compiler", "-"],
            documents=", ".join(documents), side_by_side=self.side_by_side(),
            beside_two=self.beside_two(), heaps=self.heaps(),
            tracing=self.tracing())
        if ("real-time-count", "alone", "parse") in self.values:
            page += REAL_TIME.format(real_time=self.real_time())
        size = int(self.texts["tool-bytes", "-", "-", "large"]) // 1_000_000
        page += TOOL.format(tool=self.tool(), size=size)
        if ("growth", "vorn", "parse") in self.values:
            page += GROWTH.format(growth=self.growth())
        return page

    def chart(self):
        for name, title in OPERATIONS.items():
            ratios = (self.ratio("instructions", other, name, "vorn")
                      for other in OTHERS)
            yield f'"{title}" ' + " ".join(f"{ratio:.6g}" for ratio in ratios)
