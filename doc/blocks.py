#!/usr/bin/python3
"""Usage: doc/blocks.py FOLDER PAGE...

Writes each code block of the Markdown pages into a file in the folder, and prints
the names of the files: PAGE_NUMBER.LANGUAGE. A block without a language is the
output of the block before it, whose number it has; its file ends in ".out".
"""
import re
import sys
from pathlib import Path

folder = Path(sys.argv[1])
for page in map(Path, sys.argv[2:]):
    count = 0
    for language, code in re.findall(r"^```([^\n]*)\n(.*?)^```",
                                     page.read_text(), re.MULTILINE | re.DOTALL):
        count += language != ""
        file = folder / f"{page.stem}_{count}.{language or 'out'}"
        file.write_text(code)
        print(file.name)
