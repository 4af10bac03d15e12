#!/usr/bin/env python3
"""Turn the Material Icons scss map into the icon font's name table.

Each line of the table is "name hexcode", as the font's own codepoints file
has it. Usage: gen_codepoints.py <_variables.scss> <output>
"""
import os
import re
import sys

ENTRY = re.compile(r'^\s*"([^"]+)"\s*:\s*([0-9a-fA-F]+)\s*,?\s*$')


def main(argv):
    if len(argv) != 3:
        sys.stderr.write(__doc__)
        return 2
    lines = []
    with open(argv[1], encoding="utf-8") as scss:
        for line in scss:
            match = ENTRY.match(line)
            if match:
                lines.append("%s %s\n" % (match.group(1), match.group(2).lower()))
    if not lines:
        sys.stderr.write("no code points found in %s\n" % argv[1])
        return 1
    os.makedirs(os.path.dirname(os.path.abspath(argv[2])), exist_ok=True)
    with open(argv[2], "w", encoding="ascii", newline="\n") as out:
        out.writelines(lines)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
