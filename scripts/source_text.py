"""C++ sources as the checks read them: without comments, line by line."""

import os
import re

SUFFIXES = (".h", ".hpp", ".cpp", ".cc", ".c", ".inl")

# A raw string before a plain one, a string before a comment: each may hold the marks of the next.
TOKEN = re.compile(
    r'R"(?P<mark>[^\s()\\]{0,16})\(.*?\)(?P=mark)"'
    r'|"(?:\\.|[^"\\\n])*"'
    r"|(?<![0-9A-Fa-f])'(?:\\.|[^'\\\n])*'"
    r"|/\*.*?\*/|//(?:\\\n|[^\n])*",
    re.DOTALL,
)


def blank(text, strings):
    """The text with spaces for its comments, and for what is in its strings if that is asked for."""

    def replace(match):
        found = match.group()
        if found.startswith("/"):
            return re.sub(r"[^\n]", " ", found)
        return '""' + "\n" * found.count("\n") if strings else found

    return TOKEN.sub(replace, text)


def files(root, folders):
    """Every source below the folders, as a path from the root, in order."""
    found = []
    for folder in folders:
        for place, names, leaves in os.walk(os.path.join(root, folder)):
            names.sort()
            found += [os.path.relpath(os.path.join(place, leaf), root) for leaf in leaves if leaf.endswith(SUFFIXES)]
    return sorted(found)


def read(root, path):
    with open(os.path.join(root, path), encoding="utf-8", errors="replace") as source:
        return source.read()
