#!/usr/bin/env python3
"""Prepares a page or a header for Doxygen, which reads it from standard output.

    doxygen_filter.py FILE
"""

import pathlib
import re
import sys

# ---- Pages

# Characters that have a meaning in Doxygen's Markdown, also in code.
SPECIAL = {character: f"\\{character}" for character in "\\@$#%*_`|"}
SPECIAL.update({"&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;"})


def code(match):
    text = match[2]
    if len(text) > 2 and text[0] == text[-1] == " ":
        text = text[1:-1]
    text = text.replace("\\|", "|")  # in a table
    text = "".join(SPECIAL.get(character, character) for character in text)
    for pair in ("--", "::"):
        text = text.replace(pair, f"\\{pair}")
    return f"<code>{text}</code>"


def page(text):
    parts = re.split(r"(^```.*?^```$)", text, flags=re.M | re.S)
    for i in range(0, len(parts), 2):
        part = re.sub(r"(`+)(?!`)(.+?)(?<!`)\1(?!`)", code, parts[i],
                      flags=re.S)
        # A link to what is not a page of the reference is text; a section of a
        # page is found on the page.
        part = re.sub(r"(?<!!)\[([^]\[]+)\]\((?![^)]*\.md|http)[^)]*\)", r"\1",
                      part)
        part = re.sub(r"\]\(([^)]*\.md)#[^)]*\)", r"](\1)", part)
        parts[i] = part
    for i in range(1, len(parts), 2):
        parts[i] = re.sub(r"^```(pycon|console)", "```", parts[i])
    return "".join(parts)


# ---- Headers


# Where a run of declarations ends; what is in these has comments of its own.
END = re.compile(r"\s*($|//|private:|public:|protected:|\}|#)")
SCOPE = re.compile(r"\s*(class|struct|union|enum|namespace|extern \"C\")\b")


def declarations(lines):
    """The lines of each declaration, up to the next blank line."""
    declaration = []
    depth = 0
    for line in lines:
        if depth == 0 and SCOPE.match(line):
            return
        if not declaration and END.match(line):
            return
        declaration.append(line)
        ends = False
        for character in re.sub(r"""//.*|"[^"]*"|'\\?.'""", "", line):
            depth += (character in "({") - (character in ")}")
            ends = ends or depth == 0 and character in ";}"
        if ends and depth == 0:
            yield declaration
            declaration = []


def header(text):
    lines = text.split("\n")
    # What the file begins with describes it. Without that Doxygen leaves out
    # the functions in it.
    end = next(i for i, line in enumerate(lines) if not line.startswith("//"))
    result = ["/// \\file", *(f"/{line}" for line in lines[:end])]
    while end < len(lines):
        start = end
        while end < len(lines) and re.match(r"\s*///( |$)", lines[end]):
            end += 1
        if start == end:
            result.append(lines[end])
            end += 1
            continue
        # The comment of a run of declarations is for each of them.
        comment = lines[start:end]
        run = list(declarations(lines[end:])) or [[]]
        for declaration in run:
            result += [*comment, *declaration]
            end += len(declaration)
    return "\n".join(result)


def main():
    path = pathlib.Path(sys.argv[1])
    text = path.read_text()
    if path.name == "README.md":  # the front page is another one
        text = re.sub(r"\A# .*", "# First steps", text)
    sys.stdout.write(page(text) if path.suffix == ".md" else header(text))


main()
