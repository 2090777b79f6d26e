"""What the library takes in memory: file and sections, tables per row and what of them text touches, loading, stack.

A line is 64 bytes of read-only data. footprint.cpp finds the lines that a row's conversions to and from UTF-8 and UTF-16
touch; the symbols that hold them are the row's tables.
"""
import bisect
import json
import re
import statistics
import subprocess

LINE, PAGE = 64, 4096


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def sections(library):
    """Bytes of each section that is loaded."""
    pattern = re.compile(r"\]\s+(\S+)\s+\S+\s+[0-9a-f]+ [0-9a-f]+ ([0-9a-f]+) \S+\s+(\S*A)")
    return {m[1]: int(m[2], 16) for m in pattern.finditer(output("readelf", "-SW", library))}


def tables(library):
    """(address, size, name) of the data symbols, by address."""
    symbols = []
    for line in output("nm", "-SC", library).splitlines():
        fields = line.split(maxsplit=3)
        if len(fields) == 4 and fields[2] in "rRuV":
            symbols.append((int(fields[0], 16), int(fields[1], 16), fields[3]))
    return sorted(symbols)


def holders(symbols, lines):
    """The symbols in which a line that was touched lies."""
    starts = [address for address, _, _ in symbols]
    found = set()
    for line in lines:
        for symbol in symbols[max(0, bisect.bisect(starts, line) - 1) : bisect.bisect(starts, line + LINE - 1)]:
            # The first line of a table may be the last one of its neighbour: the most of it counts.
            overlap = min(line + LINE, symbol[0] + symbol[1]) - max(line, symbol[0])
            if overlap > LINE // 2 or (overlap > 0 and symbol[1] <= LINE // 2):
                found.add(symbol)
    return found


def rows(build):
    module = build / "qzstr_level_avx2.so"
    symbols = tables(module)
    found = {}
    for row, touched in json.loads(output(build / "bench/footprint", "lines", module)).items():
        found[row] = {
            "language": touched["language"],
            "table_bytes": sum(size for _, size, _ in holders(symbols, touched["repertoire"])),
            "text_bytes": len(touched["text"]) * LINE,
            "text_pages": len({line // PAGE for line in touched["text"]}),
        }
    return found


def measure(build):
    library = build / "libqzstr.so"
    loaded = [json.loads(output(build / "bench/footprint", "load", library)) for _ in range(5)]
    relocations = output("readelf", "-rW", library)
    return {
        "file_bytes": library.stat().st_size,
        "sections": sections(library),
        "relocations": {kind: relocations.count(kind) for kind in ("R_X86_64_RELATIVE", "R_X86_64_IRELATIV")},
        "load": {key: statistics.median(run[key] for run in loaded) for key in loaded[0]},
        "stack": json.loads(output(build / "bench/footprint", "stack", library)),
        "rows": rows(build),
    }
