#!/usr/bin/env python3
"""A virtual MicroPython board on a pseudo-terminal.

    python3 tools/virtual_board.py --fs DIR --link PATH [options]

Prints PATH once the board is up, then runs until SIGTERM or SIGINT.
"""

import os
import sys
import warnings

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))

from vboard import cli  # noqa: E402
from vboard.board import Board  # noqa: E402


def main(argv):
    opts = cli.parse(argv)
    # Board code is compiled at run time; CPython's warnings about it are noise.
    warnings.simplefilter('ignore')
    Board(opts).run()


if __name__ == '__main__':
    main(sys.argv[1:])
