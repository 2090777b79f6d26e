"""Tables and the plot of docs/performance.md from the results of one run."""
import math
import re

DOUBLE_BYTE = ["EUCKR", "MSWIN949", "SJIS", "SJISTILDE", "JA16SJIS", "JA16SJISTILDE", "JA16EUC", "JA16EUCTILDE", "GBK",
               "ZHT16BIG5", "ZHT16MSWIN950", "ZHT16HKSCS"]
OTHER_SCRIPTS = ["CL8MSWIN1251", "CL8KOI8R", "CL8ISO8859P5", "RU8PC866", "EL8MSWIN1253", "EL8ISO8859P7", "AR8MSWIN1256",
                 "AR8ISO8859P6", "IW8ISO8859P8", "TH8TISASCII"]
LATIN = ["WE8MSWIN1252", "WE8ISO8859P1", "WE8ISO8859P15", "EE8ISO8859P2", "WE8ISO8859P9"]
LONGER = ["GB18030", "EUCTW"]
DIRECTIONS = ["to-UTF-8", "UTF-8-to", "to-UTF-16BE", "UTF-16BE-to"]
PEERS = ["iconv", "icu"]
SIZES = ["text", "256", "64", "32", "16", "8"]

# What a line of a table is the mean of: its name, rows, whether the text is pure ASCII.
KINDS = [
    ("double-byte CJK", DOUBLE_BYTE, False),
    ("GB18030, EUC-TW", LONGER, False),
    ("ISO-2022-KR", ["ISO2022-KR"], False),
    ("single-byte, other scripts", OTHER_SCRIPTS, False),
    ("single-byte, Latin", LATIN, False),
    ("UTF-8", ["UTF8"], False),
    ("multibyte, ASCII text", ["ASCII", "UTF8", *DOUBLE_BYTE, *LONGER], True),
    ("single-byte, ASCII text", [*OTHER_SCRIPTS, *LATIN], True),
    ("EBCDIC, ASCII text", ["US8ICL"], True),
]

# The lines that the README has: kinds, directions.
SUMMARY = [(["double-byte CJK", "UTF-8"], DIRECTIONS),
           (["GB18030, EUC-TW", "single-byte, other scripts", "single-byte, Latin", "multibyte, ASCII text"], DIRECTIONS[:2])]


def mean(values):
    return math.exp(sum(map(math.log, values)) / len(values))


def ratios(case):
    """Each peer's time over ours."""
    ours = case["ns"].get("qzstr")
    return {peer: time / ours for peer, time in case["ns"].items() if peer != "qzstr"} if ours else {}


def table(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(str(cell) for cell in line) + " |" for line in lines) + "\n"


def number(value):
    return "-" if value is None else f"{value:.1f}" if value < 99.5 else f"{value:.0f}"


def both(found):
    """Means over iconv and ICU as one cell."""
    return ", ".join(number(mean(found[p]) if found[p] else None) for p in PEERS)


def select(cases, rows, direction, size, ascii_only):
    """For each peer the ratios of the cases of these rows."""
    found = {p: [] for p in PEERS}
    for name, case in cases.items():
        row, language, *kind = name.split("/")
        if row in rows and kind == [direction, size] and (language == "ascii") == ascii_only:
            for peer in PEERS:
                if peer in (r := ratios(case)):
                    found[peer].append(r[peer])
    return found


def kinds(cases, wanted=lambda kind, direction: True):
    """(label, {size: ratios}) of every kind and direction that was measured."""
    for label, rows, ascii_only in KINDS:
        for direction in DIRECTIONS:
            if not wanted(label, direction):
                continue
            by_size = {size: select(cases, rows, direction, size, ascii_only) for size in SIZES}
            if any(by_size["text"].values()):
                text = f"{direction[:-3]} to {label}" if direction.endswith("-to") else f"{label} to {direction[3:]}"
                yield text, by_size


def conversions_table(cases, sizes, wanted=lambda kind, direction: True):
    head = ["iconv, ICU", *("whole text" if s == "text" else f"{s} bytes" for s in sizes)]
    return table(head, [[label, *(both(by_size[s]) for s in sizes)] for label, by_size in kinds(cases, wanted)])


def in_summary(kind, direction):
    return any(kind in some and direction in directions for some, directions in SUMMARY)


def rows_table(cases):
    """Every row and language, whole text."""
    lines = {}
    for name, case in cases.items():
        row, language, *kind = name.split("/")
        if len(kind) == 2 and kind[1] == "text" and kind[0] in DIRECTIONS:
            r = ratios(case)
            lines.setdefault((row, language), {})[kind[0]] = ", ".join(number(r.get(p)) for p in PEERS)
    return table(["row", "text", *(d.replace("-to", " to row").replace("to-", "to ") for d in DIRECTIONS)],
                 [[*key, *(cells.get(d, "-") for d in DIRECTIONS)] for key, cells in lines.items()])


def means_table(cases, title, kind_of):
    """A line for every kind that kind_of tells of a case's name parts, a column for every peer."""
    found, peers = {}, []
    for name, case in cases.items():
        if (kind := kind_of(name.split("/"))) is None:
            continue
        for peer, ratio in ratios(case).items():
            found.setdefault(kind, {}).setdefault(peer, []).append(ratio)
            if peer not in peers:
                peers.append(peer)
    return table([title, *peers], [[kind, *(number(mean(by_peer[p])) if p in by_peer else "-" for p in peers)]
                                   for kind, by_peer in found.items()])


def pairs_kind(parts):
    if parts[0] != "pairs":
        return None
    source, target = parts[1].split("-to-")
    name = "from ASCII" if source == "ASCII" else "to ASCII" if target == "ASCII" else "other"
    return f"{name}, {parts[2] if parts[2] == 'text' else parts[2] + ' bytes'}"


def slots_kind(parts):
    sizes = {"16": "16 bytes", "256": "256 bytes", str(1 << 20): "1 MiB"}
    return f"`{parts[2]}`, {sizes[parts[3]]}" if len(parts) == 4 and parts[3] in sizes and "UTF" not in parts[2] else None


def damage_table(cases):
    rows = []
    for name, case in cases.items():
        if name.endswith("/damaged"):
            row, language, direction, _ = name.split("/")
            r = ratios(case)
            rows.append([row, direction.replace("-to", " to row").replace("to-", "to "),
                         f"{100 * r['clean']:.0f} %", *(number(r.get(p)) for p in PEERS)])
    return table(["row", "direction", "of the clean speed", "iconv", "ICU"], rows)


def growth_table(cases):
    """Nanoseconds a byte, by size."""
    lines, sizes = {}, []
    for name, case in cases.items():
        if name.startswith("growth/"):
            _, pair, size = name.split("/")
            sizes = sizes if int(size) in sizes else [*sizes, int(size)]
            for library, time in case["ns"].items():
                lines.setdefault((pair, library), []).append(f"{time / case['bytes']:.3f}")
    label = lambda size: f"{size >> 10} KiB" if size < 1 << 20 else f"{size >> 20} MiB"
    order = ["qzstr", *PEERS]
    return table(["conversion", "library", *map(label, sizes)],
                 [[pair.replace("-to-", " to "), library, *cells]
                  for (pair, library), cells in sorted(lines.items(), key=lambda l: (l[0][0], order.index(l[0][1])))])


def opening_table(cases):
    libraries = ["qzstr", "iconv", "iconv opened", "icu", "icu opened"]
    return table(["16-byte values", *libraries],
                 [[name.split("/")[1].replace("-to-", " to "),
                   *(number(case["ns"][lib] / case["calls"]) if lib in case["ns"] else "-" for lib in libraries)]
                  for name, case in cases.items() if name.startswith("opening/")])


def behind_table(cases):
    """Every case in which a converter is faster."""
    slower = []
    for name, case in cases.items():
        for peer, ratio in ratios(case).items():
            if peer in ("iconv", "icu", "memmem", "horspool", "u16find", "find_last_not_of") and ratio < 1:
                slower.append((ratio, name, peer))
    slower.sort()
    text = f"{len(slower)} of {sum(len(ratios(c)) for c in cases.values())} comparisons.\n\n"
    return text + table(["case", "peer", "its time over ours"], [[f"`{n}`", p, f"{r:.2f}"] for r, n, p in slower[:40]])


def process_table(process):
    peers = ["iconv", "uconv"]
    rows = []
    for name, programs in process["cases"].items():
        ours = programs["qzstr"]
        rows.append([name, f"{ours['seconds'] * 1000:.0f} ms", *(number(programs[p]["seconds"] / ours["seconds"]) for p in peers),
                     *(f"{programs[p]['kib'] / 1024:.1f}" for p in ("qzstr", *peers))])
    text = table(["100 MB", "qzconv", *("x " + p for p in peers), "MiB qzconv", *("MiB " + p for p in peers)], rows)
    sizes = table(["input of qzconv", *(f"{int(s) // 1_000_000} MB" for s in process["peak_kib_by_size"])],
                  [["most memory, MiB", *(f"{k / 1024:.1f}" for k in process["peak_kib_by_size"].values())]])
    return text + "\n" + sizes


def kib(size):
    return f"{size / 1024:.1f}"


def memory_tables(memory):
    parts = memory["sections"]
    relative, resolved = memory["relocations"].values()
    summary = table(["the shared library", ""], [
        ["file", f"{kib(memory['file_bytes'])} KiB"],
        ["code (`.text`), three sets of kernels", f"{kib(parts['.text'])} KiB"],
        ["tables (`.rodata`), shared by all processes", f"{kib(parts['.rodata'])} KiB"],
        ["relocated pointers (`.data.rel.ro`, `.got`), read-only once loaded",
         f"{kib(parts['.data.rel.ro'] + parts['.got'])} KiB"],
        ["writable data (`.data`, `.bss`), the C start files' own", f"{parts['.data'] + parts['.bss']} bytes"],
        ["relocations when loaded", f"{relative}, and {resolved} choices of a kernel"],
        ["page faults when loaded, at the first conversion",
         f"{memory['load']['faults']:.0f}, {memory['load']['faults_first_conversion']:.0f}"],
        ["time to load", f"{memory['load']['microseconds']:.0f} microseconds"]])
    stack = table(["operation", "stack, bytes"], memory["stack"].items())
    rows = table(["row", "tables, KiB", "real text", "touches, KiB", "pages"],
                 [[row, kib(r["table_bytes"]), r["language"], kib(r["text_bytes"]), r["text_pages"]]
                  for row, r in memory["rows"].items()])
    return "\n".join((summary, stack, rows))


def plot(cases):
    """An SVG of bars on a logarithmic scale: how many times faster on whole texts."""
    bars = [(label, {p: mean(v) for p, v in by_size["text"].items() if v}) for label, by_size in kinds(cases)]
    left, width, step, top = 330, 520, 26, 46
    x = lambda ratio: left + width * math.log2(max(ratio, 0.5) / 0.5) / math.log2(128 / 0.5)
    height = top + step * len(bars) + 12
    colours = {"iconv": "#4878a8", "icu": "#d08040"}
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {left + width + 60} {height}" font-family="sans-serif" '
           'font-size="12">', '<rect width="100%" height="100%" fill="white"/>',
           f'<text x="{left}" y="16">times faster than <tspan fill="{colours["iconv"]}">iconv</tspan> and '
           f'<tspan fill="{colours["icu"]}">ICU</tspan>, whole texts</text>']
    for tick in (0.5, 1, 2, 4, 8, 16, 32, 64, 128):
        out.append(f'<line x1="{x(tick):.0f}" x2="{x(tick):.0f}" y1="{top - 8}" y2="{height - 8}" '
                   f'stroke="{"#000" if tick == 1 else "#ddd"}"/>'
                   f'<text x="{x(tick):.0f}" y="{top - 14}" text-anchor="middle">{tick:g}</text>')
    for i, (label, found) in enumerate(bars):
        y = top + step * i
        out.append(f'<text x="{left - 8}" y="{y + 15}" text-anchor="end">{label}</text>')
        for j, (peer, ratio) in enumerate(found.items()):
            begin, end = sorted((x(1), min(x(ratio), left + width)))
            out.append(f'<rect x="{begin:.1f}" y="{y + 2 + 10 * j}" width="{end - begin:.1f}" height="9" '
                       f'fill="{colours[peer]}"/><text x="{end + 4:.1f}" y="{y + 10 + 10 * j}" font-size="9">'
                       f'{number(ratio)}</text>')
    return "\n".join([*out, "</svg>"]) + "\n"


def machine(context):
    return (f"{context['processor']}, {context['processors']} processors, Linux {context['kernel']}; g++ "
            f"{context['compiler'].split()[0]}; {context['iconv']}, ICU {context['icu']}; revision {context['revision']}, "
            f"{context['date']}, load {context['load']}; `{context['command']}`, {context['rounds']} rounds of "
            f"{context['seconds_a_sample'] * 1000:g} ms.\n")


def figures(results):
    """The blocks of the documents by name. A section that was not measured leaves its block as it is."""
    cases = results["cases"]
    having = lambda test: any(map(test, cases))
    blocks = {}
    if having(lambda n: n.endswith("/text") and not n.startswith("pairs/")):
        blocks |= {"conversions": conversions_table(cases, SIZES), "rows": rows_table(cases),
                   "summary": conversions_table(cases, ["text", "256", "16"], in_summary)}
    if having(lambda n: n.startswith("pairs/")):
        blocks["pairs"] = means_table(cases, "direct conversion", pairs_kind)
    if having(lambda n: n.endswith("/damaged")):
        blocks["damage"] = damage_table(cases)
    if having(lambda n: "/count_char/" in n):
        blocks["slots"] = means_table(cases, "operation", slots_kind)
    if having(lambda n: n.startswith("search/")):
        blocks["search"] = means_table(cases, "search", lambda p: "/".join(p[1:]) if p[0] == "search" else None)
    if having(lambda n: n.startswith("growth/")):
        blocks |= {"growth": growth_table(cases), "opening": opening_table(cases)}
    if cases:
        blocks |= {"behind": behind_table(cases), "machine": machine(results["context"])}
    if "process" in results:
        blocks["process"] = process_table(results["process"])
    if "memory" in results:
        blocks["memory"] = memory_tables(results["memory"])
    return blocks


def write(root, results):
    """Fills what is between <!-- figures NAME: begin --> and <!-- figures NAME: end --> in the documents."""
    blocks = figures(results)
    for page in (root / "README.md", root / "docs/performance.md"):
        text = page.read_text(encoding="utf-8")
        for name, block in blocks.items():
            text = re.sub(rf"(<!-- figures {name}: begin -->\n).*?(<!-- figures {name}: end -->)",
                          lambda m: m[1] + block + m[2], text, flags=re.S)
        page.write_text(text, encoding="utf-8")
    if "conversions" in blocks:
        (root / "docs/performance.svg").write_text(plot(results["cases"]), encoding="utf-8")
