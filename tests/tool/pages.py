#!/usr/bin/env python3
"""Searches and sorts a page of grallocinfo in a browser: pages.py TOOL

Skipped where no Chromium is installed. The page is opened with a script behind its own, which does
what a reader would and leaves what came of it in the page's title.
"""
import html
import json
import re
import shutil
import subprocess
import sys
import tempfile

BROWSER = shutil.which("chromium") or shutil.which("chromium-browser")

READER = """<script>
const section = document.querySelector("#layouts");
const shown = () => [...section.querySelectorAll("[data-item]")].filter(row => !row.hidden);
const cells = column => shown().map(row => row.cells[column].textContent);
const type = text => {
  section.querySelector("input").value = text;
  section.querySelector("input").dispatchEvent(new Event("input"));
};
const click = column => section.querySelectorAll("thead button")[column].click();
const seen = {all: shown().length};
type("YV12 4000x3000");
seen.found = [cells(0), cells(1), section.querySelector("output").textContent];
type("no such format");
seen.none = shown().length;
type("1920x1080");
click(7);
seen.up = [cells(7), section.querySelectorAll("thead th")[7].ariaSort];
click(7);
seen.down = [cells(7), section.querySelectorAll("thead th")[7].ariaSort];
click(0);
seen.names = [cells(0), section.querySelectorAll("thead [aria-sort]").length];
seen.width = [document.documentElement.scrollWidth, innerWidth];
document.title = JSON.stringify(seen);
</script>"""


def seen_in(page):
    """What the reader left, in a window as narrow as a phone."""
    done = subprocess.run([BROWSER, "--headless", "--no-sandbox", "--disable-gpu",
                           "--window-size=360,780", "--dump-dom", "file://" + page],
                          capture_output=True, text=True, check=True, timeout=100)
    return json.loads(html.unescape(re.search("<title>(.*?)</title>", done.stdout).group(1)))


def main(tool):
    if not BROWSER:
        return 77
    with tempfile.TemporaryDirectory() as folder:
        page = folder + "/page.html"
        subprocess.run([tool, "profile", "show", "strict", "--html", page], check=True)
        with open(page, encoding="utf-8") as file:
            text = file.read().replace("</body>", READER + "</body>")
        with open(page, "w", encoding="utf-8") as file:
            file.write(text)
        seen = seen_in(page)
    names, sizes, count = seen["found"]
    assert set(names) == {"YV12 (0x32315659)"} and set(sizes) == {"4000x3000"}, seen["found"]
    assert count == f"{len(names)} of {seen['all']}" and len(names) < seen["all"], count
    assert seen["none"] == 0
    for way, order in (("ascending", seen["up"]), ("descending", seen["down"])):
        numbers = [int(text) for text in order[0] if text]
        assert order[1] == way and len(set(numbers)) > 5, order
        assert numbers == sorted(numbers, reverse=way == "descending"), numbers
        # What was refused has no size, and comes last either way.
        assert all(order[0][:len(numbers)]) and not any(order[0][len(numbers):]), order[0]
    names, marked = seen["names"]
    order = ["BLOB (0x21)", "NV12 (0x1000)", "Y8 (0x20203859)", "Y16 (0x20363159)"]
    assert sorted(order, key=names.index) == order and marked == 1, seen["names"]
    assert seen["width"][0] <= seen["width"][1], seen["width"]
    return 0


sys.exit(main(*sys.argv[1:]))
