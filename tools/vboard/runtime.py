"""Compiling board code and the namespace it runs in."""

import ast
import builtins
import os
import re
import sys
import types

from .errors import BoardSyntaxError, parse_error
from .modules import BUILTIN_MODULES, MpModule, firmware_order, make_pyb
from .stdio import encode

_SURROGATE = re.compile('[\udc80-\udcff]')


def board_compile(source, filename, kind):
    """kind 'single' prints expression values (the friendly REPL), 'exec' does not."""
    # The firmware's lexer takes a NUL as \x01 and bytes that are not UTF-8 as they are.
    text = source.replace(b'\x00', b'\x01').decode('utf-8', 'surrogateescape')
    if _SURROGATE.search(text):
        text = _SURROGATE.sub(lambda m: '\\udc%02x' % (ord(m.group()) & 0xff), text)
    try:
        tree = ast.parse(text, filename, 'exec')
    except SyntaxError as e:
        raise parse_error(e, text, filename) from None
    except ValueError:
        raise BoardSyntaxError(filename, 1, 'SyntaxError', 'invalid syntax') from None
    try:
        if kind == 'single':
            return compile(ast.Interactive(body=tree.body), filename, 'single', dont_inherit=True)
        return compile(tree, filename, 'exec', dont_inherit=True)
    except SyntaxError as e:
        raise BoardSyntaxError(filename, e.lineno or 1, 'SyntaxError', e.msg) from None


_SIMULATOR = os.path.dirname(os.path.abspath(__file__)) + os.sep


def _firmware_function(obj):
    # What the firmware itself provides, as opposed to functions defined on the board.
    if isinstance(obj, types.MethodType):
        obj = obj.__func__
    if isinstance(obj, types.FunctionType):
        return obj.__code__.co_filename.startswith(_SIMULATOR)
    return isinstance(obj, types.BuiltinFunctionType)


def mp_repr(obj):
    # The firmware escapes every non-ASCII character of a str repr.
    if isinstance(obj, (str, list, tuple, dict, set)):
        return ascii(obj)
    if isinstance(obj, type):
        return "<class '%s'>" % obj.__name__
    if _firmware_function(obj):
        return '<function>'
    return repr(obj)


def _mp_str(obj):
    if isinstance(obj, (list, tuple, dict, set, type)) or _firmware_function(obj):
        return mp_repr(obj)
    return str(obj)


def mp_dir(*args):
    if not args:
        return list(sys._getframe(1).f_locals)
    if isinstance(args[0], MpModule):
        return list(args[0]._mp_dir)
    return builtins.dir(*args)


HELP = """Welcome to MicroPython!

For online docs please visit http://docs.micropython.org/

Control commands:
  CTRL-A        -- on a blank line, enter raw REPL mode
  CTRL-B        -- on a blank line, enter normal REPL mode
  CTRL-C        -- interrupt a running program
  CTRL-D        -- on a blank line, do a soft reset of the board
  CTRL-E        -- on a blank line, enter paste mode

For further help on a specific object, type help(obj)
"""


class Session:
    """What lives from one reset to the next: globals, loaded modules, stdin state."""

    def __init__(self, board):
        self.board = board
        self.builtin_modules = {}
        self.loaded = {}
        self.files = {'<stdin>', 'boot.py', 'main.py'}
        self.builtins = self._builtins()
        self.globals = {'__name__': '__main__', '__builtins__': self.builtins}

    def _builtins(self):
        d = dict(builtins.__dict__)
        for name in ('exit', 'quit', 'copyright', 'credits', 'license', 'breakpoint', '__loader__', '__spec__'):
            d.pop(name, None)
        board = self.board

        def print_(*args, sep=' ', end='\n', file=None, flush=False):
            text = (' ' if sep is None else sep).join([_mp_str(a) for a in args]) + ('\n' if end is None else end)
            (file if file is not None else board.stdout).write(text)

        def help_(obj=None):
            if obj is None:
                board.stdout.write(HELP)
            else:
                board.stdout.write('object %s is of type %s\n' % (mp_repr(obj), type(obj).__name__))

        d.update({
            'print': print_, 'input': board.input_line, 'open': board.fs.open, 'help': help_,
            '__import__': self.import_, 'repr': mp_repr, 'dir': mp_dir,
        })
        return d

    def display(self, value):
        if value is not None:
            self.board.stdout.write(mp_repr(value) + '\n')

    # -- imports -----------------------------------------------------------

    def import_(self, name, globals=None, locals=None, fromlist=(), level=0):
        if level:
            raise ImportError("can't perform relative import")
        parts = name.split('.')
        top = mod = self.load(parts[0])
        for i in range(1, len(parts)):
            mod = self.load('.'.join(parts[:i + 1]), parent=mod)
        return mod if fromlist else top

    def _factories(self):
        factories = dict(BUILTIN_MODULES)
        if self.board.family == 'stm32':
            factories['pyb'] = make_pyb
        return factories

    def module_names(self):
        return firmware_order(self._factories())

    def builtin(self, name):
        factories = self._factories()
        if name not in factories and name[:1] == 'u' and name[1:] in factories:
            name = name[1:]  # uos, utime, ... are the same modules
        if name not in factories:
            return None
        if name not in self.builtin_modules:
            self.builtin_modules[name] = factories[name](self.board)
        return self.builtin_modules[name]

    def load(self, name, parent=None):
        if name in self.loaded:
            return self.loaded[name]
        if parent is None:
            mod = self.builtin(name)
            if mod is not None:
                return mod
            dirs = list(self.builtin('sys').path)
        else:
            dirs = [getattr(parent, '__path__', None)]
            if dirs[0] is None:
                raise ImportError("no module named '%s'" % name)
        leaf = name.rsplit('.', 1)[-1]
        fs = self.board.fs
        for d in dirs:
            if d == '.frozen':
                continue
            base = (d + '/' if d else '') + leaf
            for path, package in ((base + '.py', False), (base + '/__init__.py', True)):
                try:
                    host = fs.host_path(path)
                except OSError:
                    continue
                if os.path.isfile(host) and not os.path.islink(host):
                    with open(host, 'rb') as f:
                        source = f.read()
                    return self._exec_module(name, path, source, base if package else None)
        raise ImportError("no module named '%s'" % name)

    def _exec_module(self, name, path, source, package_dir):
        mod = types.ModuleType(name)
        mod.__file__ = path
        mod.__builtins__ = self.builtins
        if package_dir is not None:
            mod.__path__ = package_dir
        self.files.add(path)
        code = board_compile(source, path, 'exec')
        self.loaded[name] = mod
        try:
            exec(code, mod.__dict__)
        except BaseException:
            self.loaded.pop(name, None)
            raise
        return mod


def text_bytes(text):
    return encode(text).replace(b'\n', b'\r\n')
