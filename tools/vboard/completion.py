"""Tab completion of the friendly REPL's line editor, from what the board knows."""

import builtins
import os
import re

from .modules import MpModule, firmware_order

_WORD = re.compile(rb'[A-Za-z0-9_.]*$')

# Candidate lists are laid out in columns of this width, at most four to a line.
SLOT = 16
LINE = 4 * SLOT

# The firmware's builtins; the host's own extras are never offered.
BUILTIN_NAMES = firmware_order((
    '__build_class__', '__import__', '__repl_print__',
    'abs', 'all', 'any', 'bin', 'bool', 'bytearray', 'bytes', 'callable', 'chr', 'classmethod',
    'compile', 'complex', 'delattr', 'dict', 'dir', 'divmod', 'enumerate', 'eval', 'exec', 'filter',
    'float', 'frozenset', 'getattr', 'globals', 'hasattr', 'hash', 'help', 'hex', 'id', 'input', 'int',
    'isinstance', 'issubclass', 'iter', 'len', 'list', 'locals', 'map', 'max', 'memoryview', 'min',
    'next', 'object', 'oct', 'open', 'ord', 'pow', 'print', 'property', 'range', 'repr', 'reversed',
    'round', 'set', 'setattr', 'slice', 'sorted', 'staticmethod', 'str', 'sum', 'super', 'tuple',
    'type', 'zip',
    'ArithmeticError', 'AssertionError', 'AttributeError', 'BaseException', 'EOFError', 'Ellipsis',
    'Exception', 'GeneratorExit', 'ImportError', 'IndentationError', 'IndexError', 'KeyError',
    'KeyboardInterrupt', 'LookupError', 'MemoryError', 'NameError', 'NotImplemented',
    'NotImplementedError', 'OSError', 'OverflowError', 'RuntimeError', 'StopIteration', 'SyntaxError',
    'SystemExit', 'TypeError', 'UnicodeError', 'ValueError', 'ZeroDivisionError',
))

_MISSING = object()


def _lookup(session, name):
    if name in session.globals:
        return session.globals[name]
    return session.builtins.get(name, _MISSING) if name in BUILTIN_NAMES else _MISSING


def _attributes(obj):
    if isinstance(obj, MpModule):
        return obj._mp_dir
    return builtins.dir(obj)


def candidates(text, session):
    """(typed part of the last name, the names completing it) for text, the line up to the cursor."""
    word = _WORD.search(text).group().decode()
    *path, prefix = word.split('.')
    if not path:
        if text[:len(text) - len(word)].lstrip() == b'import ':
            names = session.module_names()
        else:
            names = list(session.globals) + [n for n in BUILTIN_NAMES if n in session.builtins]
    else:
        obj = _lookup(session, path[0])
        for part in path[1:]:
            if obj is _MISSING:
                break
            try:
                obj = getattr(obj, part)
            except Exception:
                obj = _MISSING
        names = _attributes(obj) if obj is not _MISSING else []
    private = prefix.startswith('_')
    return prefix, [n for n in dict.fromkeys(names)
                    if n.startswith(prefix) and (private or not n.startswith('_'))]


def insertion(prefix, names):
    """What Tab inserts: the part that all candidates share beyond the typed prefix."""
    return os.path.commonprefix(names)[len(prefix):] if names else ''


def columns(names):
    """The candidate list as the firmware prints it: each line begun and ended by CR LF."""
    out = []
    width = LINE  # the first name opens a line
    for name in names:
        gap = -width % SLOT
        if gap < 2:
            gap += SLOT
        if width + gap + len(name) <= LINE:
            out.append(' ' * gap + name)
            width += gap + len(name)
        else:
            out.append('\r\n' + name)
            width = len(name)
    return (''.join(out) + '\r\n').encode()
