#!/usr/bin/env python3
"""Collects real text for the benchmarks: one UTF-8 file a language, from documentation in Debian packages.

usage: corpus.py OUTPUT_DIRECTORY

Downloads (installs nothing), unpacks, strips markup and keeps the lines that are mostly in the wanted script. A language
whose file is there already is not collected again. Where no package can be had, the sample in examples/ serves, which is
short: processors learn it.
"""
import gzip
import html
import pathlib
import re
import subprocess
import sys
import tempfile

MOST = 3_000_000  # bytes kept of a language

HAN, KANA, HANGUL = "\u3400-\u9fff\uf900-\ufaff", "\u3040-\u30ff", "\uac00-\ud7a3"

SAMPLE = pathlib.Path(__file__).resolve().parent.parent / "examples/udhr.utf8.txt"
HEADINGS = {"en": "English", "fr": "Français", "de": "Deutsch", "pl": "Polski", "tr": "Türkçe", "vi": "Tiếng Việt",
            "ru": "Русский", "el": "Ελληνικά", "ar": "العربية", "he": "עברית", "th": "ภาษาไทย", "ja": "日本語",
            "ko": "한국어", "zh-cn": "简体中文", "zh-tw": "繁體中文"}

# language: characters of which a kept line must mostly consist, where its text lies as (package, path pattern)
HANDBOOK = "debian-handbook"
LANGUAGES = {
    "en": ("A-Za-z", [(HANDBOOK, "*/html/en-US/*.html")]),
    "fr": ("A-Za-z\u00c0-\u017f", [(HANDBOOK, "*/html/fr-FR/*.html")]),
    "de": ("A-Za-z\u00c0-\u017f", [(HANDBOOK, "*/html/de-DE/*.html")]),
    "pl": ("A-Za-z\u00c0-\u017f", [(HANDBOOK, "*/html/pl-PL/*.html")]),
    "tr": ("A-Za-z\u00c0-\u017f", [(HANDBOOK, "*/html/tr-TR/*.html")]),
    "vi": ("A-Za-z\u00c0-\u01b0\u1ea0-\u1eff", [(HANDBOOK, "*/html/vi-VN/*.html")]),
    "ru": ("\u0400-\u04ff", [(HANDBOOK, "*/html/ru-RU/*.html")]),
    "el": ("\u0370-\u03ff", [(HANDBOOK, "*/html/el-GR/*.html"), ("gimp-help-el", "*/el/*.html")]),
    "ar": ("\u0600-\u06ff", [(HANDBOOK, "*/html/ar-MA/*.html")]),
    "he": ("\u0590-\u05ff", [("hunspell-he", "*.dic"), ("myspell-he", "*.dic")]),
    "th": ("\u0e00-\u0e7f", [("hunspell-th", "*.dic")]),
    "ja": (HAN + KANA, [("manpages-ja", "*/man/ja/*.gz"), (HANDBOOK, "*/html/ja-JP/*.html")]),
    "ko": (HANGUL, [(HANDBOOK, "*/html/ko-KR/*.html"), ("gimp-help-ko", "*/ko/*.html"), ("debian-faq-ko", "*.html")]),
    "zh-cn": (HAN, [("manpages-zh", "*/zh_CN/*.gz"), (HANDBOOK, "*/html/zh-CN/*.html"),
                   ("debian-reference-zh-cn", "*.html")]),
    "zh-tw": (HAN, [("manpages-zh", "*/zh_TW/*.gz"), (HANDBOOK, "*/html/zh-TW/*.html"),
                   ("debian-reference-zh-tw", "*.html")]),
}


def unpacked(package, into):
    """The package's tree below `into`, None when the package cannot be had."""
    tree = into / package
    if not tree.exists():
        tree.mkdir()
        if subprocess.run(["apt-get", "download", "-qq", package], cwd=into, stderr=subprocess.DEVNULL).returncode:
            return None
        for deb in into.glob(package + "_*.deb"):
            subprocess.run(["dpkg-deb", "-x", deb, tree], check=True)
    return tree


def text_of(path):
    data = path.read_bytes()
    if path.suffix == ".gz":
        data = gzip.decompress(data)
    for encoding in ("utf-8", "iso8859-8" if "he" in path.name else "tis-620"):
        try:
            text = data.decode(encoding)
            break
        except UnicodeDecodeError:
            continue
    else:
        return ""
    if path.suffix == ".html":
        text = html.unescape(re.sub(r"<[^>]*>", "", re.sub(r"(?s)<(script|style).*?</\1>", "", text)))
    if path.suffix == ".dic":
        text = re.sub(r"/\S*", "", text)
        words = text.split()
        text = "\n".join(" ".join(words[i : i + 12]) for i in range(0, len(words), 12))
    return re.sub(r"(?m)^[.'].*$|\\[a-zA-Z(*]\S?", "", text)


def collect(script, sources, packages):
    wanted, kept, size = re.compile(f"[{script}]"), [], 0
    for package, pattern in sources:
        tree = unpacked(package, packages)
        for path in sorted(tree.rglob("*")) if tree else ():
            if not (path.is_file() and path.match(pattern)):
                continue
            for line in text_of(path).splitlines():
                line = " ".join(line.split())
                if len(wanted.findall(line)) * 2 < len(line) or len(line) < 8:
                    continue
                kept.append(line)
                size += len(line.encode()) + 1
                if size > MOST:
                    return kept
    return kept


def main():
    out = pathlib.Path(sys.argv[1])
    out.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory() as packages:
        for language, (script, sources) in LANGUAGES.items():
            file = out / (language + ".txt")
            if file.exists():
                continue
            lines = collect(script, sources, pathlib.Path(packages))
            if not lines:
                print(f"no package for {language}: the short sample", file=sys.stderr)
                paragraphs = dict(p.split("\n", 1) for p in SAMPLE.read_text(encoding="utf-8").split("\n\n") if "\n" in p)
                lines = paragraphs[HEADINGS[language]].split("\n")
            file.write_text("\n".join(lines) + "\n", encoding="utf-8")
            print(f"{file.name}: {file.stat().st_size} bytes")


main()
