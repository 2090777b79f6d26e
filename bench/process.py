"""Whole programs, from start to end: qzconv beside iconv and uconv on 100 MB of each language, and the memory they take."""
import json
import pathlib
import statistics
import subprocess
import tempfile

SIZE = 100_000_000
LANGUAGES = {"en": "ISO-8859-1", "ko": "EUC-KR", "ja": "EUC-JP", "zh-cn": "GBK", "ru": "CP1251"}


def commands(build, source, target):
    ours = {"CP1251": "CL8MSWIN1251"}
    return {
        "qzstr": [build / "tools/qzconv/qzconv", "convert", "-q", "-f", ours.get(source, source), "-t",
                  ours.get(target, target)],
        "iconv": ["iconv", "-f", source, "-t", target],
        "uconv": ["uconv", "-f", source, "-t", target],
    }


def run(build, command, file, output=subprocess.DEVNULL):
    """Processor seconds and the most memory, in KiB, of one run."""
    done = subprocess.run([build / "bench/footprint", "run", *command, file], check=True, stdout=output,
                          stderr=subprocess.PIPE, text=True)
    return json.loads(done.stderr)


def lines_alike(build, directory, text, charset):
    """The lines of UTF-8 text that all programs convert to the same bytes and back, in the charset."""
    leave_out = {"qzstr": [], "iconv": ["-c"], "uconv": ["--callback", "skip"]}
    lines = text.splitlines(keepends=True)
    for source, target in (("UTF-8", charset), (charset, "UTF-8")):
        results = []
        for program, command in commands(build, source, target).items():
            (directory / "sample").write_bytes(b"".join(lines))
            done = subprocess.run([*command, *leave_out[program], directory / "sample"], stdout=subprocess.PIPE)
            results.append(done.stdout.splitlines(keepends=True))
        lines = [same[0] for same in zip(*results, strict=True) if len(set(same)) == 1]
    return b"".join(lines)


def write_repeated(path, text, size):
    with open(path, "wb") as out:
        for _ in range(size // len(text) + 1):
            out.write(text)


def measure_one(build, directory, programs, text, rounds):
    file, sample = directory / "text", directory / "sample"
    sample.write_bytes(text)
    results = set()
    for program, command in programs.items():
        with open(directory / program, "wb") as out:
            run(build, command, sample, out)
        results.add((directory / program).read_bytes())
    if len(results) != 1:
        raise RuntimeError(f"{programs}: results differ")
    write_repeated(file, text, SIZE)
    taken = {program: [] for program in programs}
    for _ in range(rounds):
        for program, command in programs.items():
            taken[program].append(run(build, command, file))
    return {program: {"seconds": statistics.median(r["seconds"] for r in runs), "kib": max(r["kib"] for r in runs)}
            for program, runs in taken.items()}


def peaks(build, directory, text):
    """Memory of qzconv by the size of its input."""
    file, found = directory / "text", {}
    for size in (1_000_000, 10_000_000, 100_000_000, 1_000_000_000):
        write_repeated(file, text, size)
        found[size] = run(build, commands(build, "EUC-KR", "UTF-8")["qzstr"], file)["kib"]
    return found


def measure(build, corpus, rounds):
    cases = {}
    with tempfile.TemporaryDirectory(dir=build) as name:
        directory = pathlib.Path(name)
        for language, charset in LANGUAGES.items():
            utf8 = lines_alike(build, directory, (corpus / f"{language}.txt").read_bytes(), charset)
            for source, target in (("UTF-8", charset), (charset, "UTF-8")):
                (directory / "sample").write_bytes(utf8)
                programs = commands(build, source, target)
                text = utf8 if source == "UTF-8" else subprocess.check_output(
                    [*commands(build, "UTF-8", charset)["qzstr"], directory / "sample"])
                cases[f"{language}/{source}-to-{target}"] = measure_one(build, directory, programs, text, rounds)
                if (language, source) == ("ko", charset):
                    korean = text
        return {"bytes": SIZE, "cases": cases, "peak_kib_by_size": peaks(build, directory, korean)}
