#!/usr/bin/env python3
"""Refreshes the translation sources from the code.

lupdate collects every translatable string of the client into
resources/translations/Velkor_en_us.ts and Velkor_zh_cn.ts. The Chinese file
takes each source text as its own translation (Chinese is the source language);
the English file takes its texts from the glossaries in
resources/translations/glossary/*.tsv (one "source<TAB>English" a line, with
\\n for a line break inside a text).

  update-translations.py            rewrite the two .ts files
  update-translations.py --check    write nothing; list strings without English
                                    and exit 1 if there are any
"""
import glob
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
TR_DIR = os.path.join(ROOT, "resources", "translations")
SOURCE_DIRS = ["app", "core", "link", "sending", "receiving", "editor", "folders", "contacts", "admin"]


def unescape(text):
    return text.replace("\\n", "\n").replace("\\t", "\t")


def load_glossary():
    glossary = {}
    for path in sorted(glob.glob(os.path.join(TR_DIR, "glossary", "*.tsv"))):
        with open(path, encoding="utf-8") as f:
            for number, line in enumerate(f, 1):
                line = line.rstrip("\n")
                if not line or line.startswith("#"):
                    continue
                if "\t" not in line:
                    sys.exit(f"{path}:{number}: no tab between source and translation")
                source, english = line.split("\t", 1)
                glossary[unescape(source)] = unescape(english)
    return glossary


def lupdate(ts_path):
    dirs = [os.path.join(ROOT, d) for d in SOURCE_DIRS if os.path.isdir(os.path.join(ROOT, d))]
    subprocess.run(["lupdate", "-silent", "-no-obsolete", "-locations", "none", "-source-language", "zh_CN"]
                   + dirs + ["-ts", ts_path], check=True)


def fill(ts_path, language, lookup):
    tree = ET.parse(ts_path)
    root = tree.getroot()
    root.set("language", language)
    root.set("sourcelanguage", "zh_CN")
    missing = []
    for context in root.iter("context"):
        name = context.findtext("name")
        for message in context.iter("message"):
            source = message.findtext("source") or ""
            translation = message.find("translation")
            if translation is None:
                translation = ET.SubElement(message, "translation")
            text = lookup(source)
            if text is None:
                missing.append((name, source))
                translation.text = None
                translation.set("type", "unfinished")
            else:
                translation.text = text
                translation.attrib.pop("type", None)
    tree.write(ts_path, encoding="utf-8", xml_declaration=True)
    return missing


# A message box whose title is a Chinese literal outside tr() stays Chinese in English.
UNTRANSLATED_TITLE = re.compile(
    r'MessageBoxUtil::\w+\(\s*[^,()]+,\s*QStringLiteral\("([^"]*[\u4e00-\u9fff][^"]*)"\)')


def untranslated_titles():
    found = []
    for d in SOURCE_DIRS:
        for path in sorted(glob.glob(os.path.join(ROOT, d, "*.cpp"))):
            with open(path, encoding="utf-8") as f:
                for match in UNTRANSLATED_TITLE.finditer(f.read()):
                    found.append((os.path.relpath(path, ROOT), match.group(1)))
    return found


def main():
    check = "--check" in sys.argv[1:]
    glossary = load_glossary()
    out_dir = tempfile.mkdtemp() if check else TR_DIR
    en = os.path.join(out_dir, "Velkor_en_us.ts")
    zh = os.path.join(out_dir, "Velkor_zh_cn.ts")
    lupdate(en)
    lupdate(zh)
    missing = fill(en, "en_US", glossary.get)
    fill(zh, "zh_CN", lambda s: s)
    for name, source in missing:
        print(f"no English for [{name}] {source!r}")
    titles = untranslated_titles()
    for path, title in titles:
        print(f"message box title outside tr() in {path}: {title!r}")
    if check:
        count = sum(1 for _ in ET.parse(en).getroot().iter("message"))
        print(f"{count} strings, {len(missing)} without English")
        return 1 if missing or titles else 0
    return 0


if __name__ == "__main__":
    sys.exit(main())
