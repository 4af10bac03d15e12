"""MicroPython's exceptions as the board prints them."""

import re

# The errno names the firmware knows; others print as a bare number.
ERRNO = {
    'EPERM': 1, 'ENOENT': 2, 'EIO': 5, 'EBADF': 9, 'EAGAIN': 11, 'ENOMEM': 12,
    'EACCES': 13, 'EEXIST': 17, 'ENODEV': 19, 'EISDIR': 21, 'EINVAL': 22,
    'EOPNOTSUPP': 95, 'EADDRINUSE': 98, 'ECONNABORTED': 103, 'ECONNRESET': 104,
    'ENOBUFS': 105, 'ENOTCONN': 107, 'ETIMEDOUT': 110, 'ECONNREFUSED': 111,
    'EHOSTUNREACH': 113, 'EALREADY': 114, 'EINPROGRESS': 115,
}
ERRNO_NAME = {v: k for k, v in ERRNO.items()}
ENOTDIR = 20
ENOSPC = 28
ENOTEMPTY = 39
EXDEV = 18


def errno_text(code):
    name = ERRNO_NAME.get(code)
    return '[Errno %d] %s' % (code, name) if name else str(code)


class MpOSError(OSError):
    """OSError(errno) of the firmware: args is (errno,), str is '[Errno 2] ENOENT'."""

    def __init__(self, code):
        super().__init__(code)

    @property
    def errno(self):
        return self.args[0] if self.args else None

    def __str__(self):
        if len(self.args) == 1 and isinstance(self.args[0], int):
            return errno_text(self.args[0])
        return super().__str__()


MpOSError.__name__ = MpOSError.__qualname__ = 'OSError'


def host_error(exc):
    """The board's OSError for a failed host call, without the host path."""
    code = exc.errno or ERRNO['EIO']
    if code == ENOTDIR:
        code = ERRNO['ENOENT']
    return MpOSError(code)


class HardReset(BaseException):
    """Unwinds everything: machine.reset(), a lost port, DFU."""

    def __init__(self, kind):
        super().__init__(kind)
        self.kind = kind


class BoardSyntaxError(Exception):
    """A compile error, reported with MicroPython's line and wording."""

    def __init__(self, filename, lineno, name, message):
        super().__init__(message)
        self.filename = filename
        self.lineno = lineno
        self.name = name
        self.message = message


_EOF_ERRORS = ('was never closed', 'unexpected EOF', 'unterminated triple-quoted',
               'expected an indented block')


def parse_error(exc, text, filename):
    """Turns CPython's parser error into what MicroPython's parser reports."""
    msg = exc.msg or ''
    lineno = exc.lineno or 1
    # MicroPython's lexer ends the input with a newline and fails at the EOF
    # token, one line below the last one.
    eof_line = text.count('\n') + (1 if text.endswith('\n') else 2)
    last_line = text.count('\n') + (0 if text.endswith('\n') else 1)
    if 'never closed' in msg or (lineno >= last_line and any(s in msg for s in _EOF_ERRORS)):
        lineno = eof_line
    if msg == 'unexpected indent':
        return BoardSyntaxError(filename, lineno, 'IndentationError', 'unexpected indent')
    if msg.startswith('unindent does not match'):
        return BoardSyntaxError(filename, lineno, 'IndentationError',
                                "unindent doesn't match any outer indent level")
    return BoardSyntaxError(filename, lineno, 'SyntaxError', 'invalid syntax')


_TYPE_NAMES = {
    'ModuleNotFoundError': 'ImportError',
    'RecursionError': 'RuntimeError',
    'UnicodeDecodeError': 'UnicodeError',
    'UnicodeEncodeError': 'UnicodeError',
    'UnicodeTranslateError': 'UnicodeError',
    'UnboundLocalError': 'NameError',
}

_OPS = {'+': '__add__', '-': '__sub__', '*': '__mul__', '/': '__truediv__', '//': '__floordiv__',
        '%': '__mod__', '**': '__pow__', '<<': '__lshift__', '>>': '__rshift__', '&': '__and__',
        '|': '__or__', '^': '__xor__', '@': '__matmul__', '+=': '__iadd__', '-=': '__isub__'}


def _rewrite(exc, text):
    # Where CPython words a common error differently from the firmware.
    if isinstance(exc, ZeroDivisionError):
        return 'divide by zero'
    if isinstance(exc, RecursionError):
        return 'maximum recursion depth exceeded'
    if isinstance(exc, UnboundLocalError):
        return 'local variable referenced before assignment'
    m = re.match(r"name '(.*)' is not defined", text)
    if isinstance(exc, NameError) and m:
        return "name '%s' isn't defined" % m.group(1)
    m = re.match(r"module '(.*)' has no attribute '(.*)'", text)
    if isinstance(exc, AttributeError) and m:
        return "'module' object has no attribute '%s'" % m.group(2)
    m = re.match(r"unsupported operand type\(s\) for (\S+): '(.*)' and '(.*)'", text)
    if isinstance(exc, TypeError) and m and m.group(1) in _OPS:
        return "unsupported types for %s: '%s', '%s'" % (_OPS[m.group(1)], m.group(2), m.group(3))
    m = re.match(r'can only concatenate str \(not "(.*)"\) to str', text)
    if isinstance(exc, TypeError) and m:
        return "can't convert '%s' object to str implicitly" % m.group(1)
    m = re.match(r"cannot import name '(.*?)'", text)
    if isinstance(exc, ImportError) and m:
        return "can't import name %s" % m.group(1)
    if isinstance(exc, TypeError):
        return re.sub(r"' object is not (callable|iterable|subscriptable)", r"' object isn't \1", text)
    return text


def type_name(exc):
    t = type(exc)
    if isinstance(exc, OSError):
        return 'OSError'
    return _TYPE_NAMES.get(t.__name__, t.__name__)


def message(exc):
    args = exc.args
    if isinstance(exc, OSError):
        code = exc.errno if exc.errno is not None else (args[0] if args else None)
        if isinstance(code, int) and not isinstance(code, bool):
            return errno_text(code)
    if isinstance(exc, UnicodeError) or not args:
        return ''
    if len(args) == 1:
        return _rewrite(exc, str(args[0]))
    return repr(tuple(args))


def format_exception(exc, board_files):
    """The text MicroPython prints for an uncaught exception, with LF line ends."""
    if isinstance(exc, BoardSyntaxError):
        return ('Traceback (most recent call last):\n  File "%s", line %d\n%s: %s\n'
                % (exc.filename, exc.lineno, exc.name, exc.message))
    frames = []
    tb = exc.__traceback__
    while tb is not None:
        code = tb.tb_frame.f_code
        if code.co_filename in board_files:
            frames.append('  File "%s", line %d, in %s\n' % (code.co_filename, tb.tb_lineno, code.co_name))
        tb = tb.tb_next
    head = 'Traceback (most recent call last):\n' + ''.join(frames) if frames else ''
    return '%s%s: %s\n' % (head, type_name(exc), message(exc))
