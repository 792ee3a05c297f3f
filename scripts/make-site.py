#!/usr/bin/env python3
"""Makes the site with Doxygen: the pages of README and docs/, and a reference of the public headers.

    scripts/make-site.py VERSION FOLDER    the site is FOLDER/html, and begins with index.html

Fails when Doxygen warns of anything. It reads a copy: in pages, links into pages lead where they lead elsewhere, and
what the site does not have is no link; in headers, enumerations that a macro makes of a list are written out.
"""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile


SOURCES = pathlib.Path(__file__).resolve().parent.parent
HEADERS = ["include/ciapi", "platform/include/tvplatform", "testing/include/ciapi-testing"]


def pages_of_site():
    return [pathlib.Path("README.md"), *sorted(page.relative_to(SOURCES) for page in SOURCES.glob("docs/**/*.md"))]


def label(path, heading):
    """A heading's label, which has to be the only one of its name in the site."""
    words = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
    return "-".join(path.with_suffix("").parts) + "-" + words


def linked(path, pages, match):
    text, target = match.groups()
    if re.match(r"[a-z]+:", target):
        return match.group(0)
    name, _, fragment = target.partition("#")
    page = pathlib.Path(os.path.normpath(path.parent / name)) if name else path
    if page not in pages:
        return text
    return f"[{text}](#{label(page, fragment)})" if fragment else f"[{text}]({page})"


def page(path, pages, text):
    lines, fenced = [], False
    for line in text.splitlines():
        fenced ^= line.startswith("```")
        heading = re.fullmatch(r"##+ (.*)", line)
        if heading and not fenced:
            line += f" {{#{label(path, heading[1])}}}"
        elif not fenced:
            line = re.sub(r"(?<!!)\[([^\]]*)\]\(([^)\s]+)\)", lambda match: linked(path, pages, match), line)
        lines.append(line)
    return "\n".join(lines) + "\n"


def header(text):
    def written_out(match):
        enumerators = re.sub(r"X\((\w+), (\w+)\)\s*\\?", r"\2 = \1,", match[2])
        return f"{match[3]}enum {match[1]} : int\n{{\n{enumerators}}};\n" \
               f"/// The text of a value, for log lines. Reentrant.\nstd::string ToString(const {match[1]}& value);\n"

    lists = r"#define CIAPI_VALUES_(\w+)\(X\)\s*\\\n((?:.*\\\n)*.*\n)((?:///.*\n)*)CIAPI_ENUMERATION\(\1\)\n"
    text = re.sub(lists, written_out, text)
    # A macro without words is nobody's to use.
    text = re.sub(r"(?m)((?:^///.*\n)*)^#define (?:.*\\\n)*.*$", lambda macro: macro[0] if macro[1] else "", text)
    return text + "/** \\file */\n"  # else Doxygen leaves out what is in no namespace


def lay_out(folder):
    pages = pages_of_site()
    texts = {path: page(path, pages, (SOURCES / path).read_text()) for path in pages}
    for headers in HEADERS:
        for file in (SOURCES / headers).glob("*.h"):
            texts[file.relative_to(SOURCES)] = header(file.read_text())
    for picture in SOURCES.glob("docs/*.png"):
        (folder / "docs").mkdir(exist_ok=True)
        shutil.copy(picture, folder / "docs")
    for path, text in texts.items():
        (folder / path).parent.mkdir(parents=True, exist_ok=True)
        (folder / path).write_text(text)


def main():
    version, site = sys.argv[1], pathlib.Path(sys.argv[2]).resolve()
    shutil.rmtree(site, ignore_errors=True)
    site.mkdir(parents=True)
    settings = (SOURCES / "docs/Doxyfile.in").read_text().replace("@VERSION@", version).replace("@SITE@", str(site))
    with tempfile.TemporaryDirectory() as folder:
        lay_out(pathlib.Path(folder))
        result = subprocess.run(["doxygen", "-"], cwd=folder, input=settings, text=True, stdout=subprocess.DEVNULL)
    sys.exit(result.returncode)


main()
