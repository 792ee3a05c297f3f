"""The links between pages, and the site that is made of them: Doxygen warns of nothing, and no link of it is dead.

    links_test.py SOURCES VERSION
"""

import html
import pathlib
import re
import subprocess
import sys
import tempfile
import urllib.parse

SOURCES, VERSION = pathlib.Path(sys.argv[1]).resolve(), sys.argv[2]
BOUND = 300  # seconds for the site, on a machine that has much else to do


def without_code(text):
    return re.sub(r"`[^`\n]*`", "", re.sub(r"(?ms)^```.*?^```$", "", text))


def anchors_of(page):
    """The fragments by which the headings of a page are found."""
    headings = re.findall(r"(?m)^#+ (.*)$", re.sub(r"(?ms)^```.*?^```$", "", page.read_text()))
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def dead_in_page(page):
    for target in re.findall(r"\]\(([^)\s]+)\)", without_code(page.read_text())):
        if re.match(r"[a-z]+:", target):
            continue
        name, _, fragment = target.partition("#")
        file = page.parent / name if name else page
        if not file.exists() or (fragment and fragment not in anchors_of(file)):
            yield f"{page.relative_to(SOURCES)}: {target}"


def dead_in_site(site):
    texts = {file.name: file.read_text(errors="replace") for file in site.glob("*.html")}
    anchors = {name: set(re.findall(r'(?:id|name)="([^"]+)"', text)) for name, text in texts.items()}
    for name, text in texts.items():
        for target in set(re.findall(r'(?:href|src)="([^"]*)"', text)):
            target = urllib.parse.unquote(html.unescape(target))
            if re.match(r"[a-z]+:", target) or target == "#nested-classes":  # Doxygen's own, where all are private
                continue
            file, _, fragment = target.partition("#")
            file = file or name
            if not (site / file).exists() or (fragment and file in anchors and fragment not in anchors[file]):
                yield f"{name}: {target}"


def main():
    pages = [*SOURCES.glob("*.md"), *(SOURCES / "docs").rglob("*.md"), SOURCES / "fuzz/README.md"]
    wrong = [dead for page in pages for dead in dead_in_page(page)]
    with tempfile.TemporaryDirectory() as folder:
        made = subprocess.run([sys.executable, "-B", SOURCES / "scripts/make-site.py", VERSION, folder],
                              capture_output=True, text=True, timeout=BOUND)
        if made.returncode != 0:
            sys.exit("\n".join([*wrong, made.stderr, f"make-site.py ended with {made.returncode}"]))
        site = pathlib.Path(folder, "html")
        for page in (SOURCES / "docs").rglob("*.md"):
            made = site / ("md_" + "_".join(page.relative_to(SOURCES).with_suffix("").parts).replace("-", "_") + ".html")
            if not made.exists():
                wrong.append(f"the site lacks {page.relative_to(SOURCES)}")
        if "CI_APPLICATION_TYPE_EPG" not in (site / "CIEnumerations_8h.html").read_text():
            wrong.append("the reference lacks enumerators")
        wrong += dead_in_site(site)
    if wrong:
        sys.exit("\n".join(wrong))


main()
