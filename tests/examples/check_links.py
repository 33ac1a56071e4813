#!/usr/bin/env python3
"""Looks for links in pages that lead nowhere.

    check_links.py PAGE...
"""

import pathlib
import re
import sys


def anchors(page):
    """The names by which a page's headings are linked to."""
    for heading in re.findall(r"^#+ (.*)$", page.read_text(), re.M):
        words = re.sub(r"[^\w\- ]", "", heading.lower())
        yield words.replace(" ", "-")


def is_good(page, link):
    target, _, anchor = link.partition("#")
    place = page.parent / target if target else page
    return place.exists() and (not anchor or anchor in anchors(place))


broken = 0
for argument in sys.argv[1:]:
    page = pathlib.Path(argument)
    text = page.read_text()
    text = re.sub(r"^```.*?^```$|`[^`]*`", "", text, flags=re.M | re.S)
    for link in re.findall(r"\]\(([^)\s]*)\)", text):
        if not re.match(r"https?:", link) and not is_good(page, link):
            print(f"{page}: nothing at {link}")
            broken += 1
sys.exit(1 if broken else 0)
