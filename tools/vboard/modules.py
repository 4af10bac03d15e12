"""The firmware's built-in modules, built fresh for every boot of the board."""

import array
import binascii as _binascii
import collections
import hashlib as _hashlib
import heapq
import io
import math
import random as _random
import re as _re
import struct
import time as _time

from .errors import ERRNO, ERRNO_NAME, MpOSError
from .mpjson import json_dumps, json_loads

EPOCH_2000 = 946684800
TICKS_MASK = (1 << 30) - 1


# Names the firmware interns before all others; in a module's table they come
# first, the rest follow sorted by their bytes.
_INTERNED_FIRST = ('open', 'read', 'readinto', 'readline', 'remove', 'sep', 'write')


def firmware_order(names):
    """Names in the order the firmware's tables list them (dir(), Tab completion)."""
    names = list(dict.fromkeys(names))
    first = [n for n in _INTERNED_FIRST if n in names]
    return first + sorted((n for n in names if n not in first), key=lambda n: n.encode())


class MpModule:
    """A module object: repr "<module 'name'>", dir() in the firmware's table order."""

    def __init__(self, name, members):
        self.__name__ = name
        self._mp_dir = ['__class__', '__name__', '__dict__'] + firmware_order(
            k for k in members if not k.startswith('_'))
        for k, v in members.items():
            setattr(self, k, v)

    def __getattr__(self, name):
        raise AttributeError("'module' object has no attribute '%s'" % name)

    def __repr__(self):
        return "<module '%s'>" % self.__name__


def _namespace(mod, names=None):
    names = names or [n for n in dir(mod) if not n.startswith('_')]
    return {n: getattr(mod, n) for n in names if hasattr(mod, n)}


class Clock:
    """The board's RTC, in seconds since 2000-01-01."""

    def __init__(self, from_boot):
        self.boot_host = _time.time()
        self.boot_mono = _time.monotonic()
        self.offset = 0.0 if from_boot else self.boot_host - EPOCH_2000 - _time.timezone

    def now(self):
        return self.offset + (_time.monotonic() - self.boot_mono)

    def board_time(self, host_time):
        return host_time - self.boot_host + self.offset

    def set(self, seconds):
        self.offset = seconds - (_time.monotonic() - self.boot_mono)


def _localtime(secs):
    t = _time.gmtime(EPOCH_2000 + int(secs))
    return (t.tm_year, t.tm_mon, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec, t.tm_wday, t.tm_yday)


def _mktime(t):
    import calendar
    return calendar.timegm((t[0], t[1], t[2], t[3], t[4], t[5], 0, 0, 0)) - EPOCH_2000


def make_time(board):
    clock = board.clock
    t0 = _time.monotonic()

    def ticks_ms():
        return int((_time.monotonic() - t0) * 1000) & TICKS_MASK

    def ticks_us():
        return int((_time.monotonic() - t0) * 1000000) & TICKS_MASK

    def ticks_diff(a, b):
        return ((a - b + (1 << 29)) & TICKS_MASK) - (1 << 29)

    return MpModule('time', {
        'sleep': lambda s: _time.sleep(s),
        'sleep_ms': lambda ms: _time.sleep(ms / 1000.0),
        'sleep_us': lambda us: _time.sleep(us / 1000000.0),
        'ticks_ms': ticks_ms,
        'ticks_us': ticks_us,
        'ticks_cpu': ticks_us,
        'ticks_add': lambda t, d: (t + d) & TICKS_MASK,
        'ticks_diff': ticks_diff,
        'time': lambda: int(clock.now()),
        'time_ns': lambda: int(clock.now() * 1e9),
        'localtime': lambda secs=None: _localtime(clock.now() if secs is None else secs),
        'gmtime': lambda secs=None: _localtime(clock.now() if secs is None else secs),
        'mktime': _mktime,
    })


def make_os(board):
    fs = board.fs
    ident = board.identity

    class UnameResult(tuple):
        def __repr__(self):
            return ("(sysname=%r, nodename=%r, release=%r, version=%r, machine=%r)" % tuple(self))

        sysname = property(lambda s: s[0])
        nodename = property(lambda s: s[1])
        release = property(lambda s: s[2])
        version = property(lambda s: s[3])
        machine = property(lambda s: s[4])

    def uname():
        return UnameResult((ident.sysname, ident.sysname, ident.release, ident.version, ident.machine))

    def urandom(n):
        return bytes(_random.getrandbits(8) for _ in range(n))

    vfs = board.session.builtin('vfs')
    members = {
        'uname': uname,
        'chdir': fs.chdir, 'getcwd': fs.getcwd, 'ilistdir': fs.ilistdir, 'listdir': fs.listdir,
        'mkdir': fs.mkdir, 'remove': fs.remove, 'unlink': fs.remove, 'rename': fs.rename,
        'rmdir': fs.rmdir, 'stat': fs.stat, 'statvfs': fs.statvfs,
        'mount': vfs.mount, 'umount': vfs.umount, 'VfsFat': vfs.VfsFat, 'VfsLfs2': vfs.VfsLfs2,
        'sep': '/',
    }
    # The reference board under QEMU has neither a random source nor dupterm.
    if ident.name != 'reference':
        members.update({'urandom': urandom, 'sync': lambda: None, 'dupterm': lambda *a: None})
    return MpModule('os', members)


class _Vfs:
    def __repr__(self):
        return '<%s>' % type(self).__name__


def make_vfs(board):
    fs = board.fs
    kinds = {n: type(n, (_Vfs,), {}) for n in ('VfsFat', 'VfsLfs2')}
    vfs = kinds['VfsFat' if fs.fat else 'VfsLfs2']()

    def mount(*args, **kw):
        if args or kw:
            raise MpOSError(ERRNO['EPERM'])
        return [(vfs, fs.mount)]

    return MpModule('vfs', dict(kinds, mount=mount, umount=lambda *a: None))


class _AttrTuple(tuple):
    """A tuple whose items are also attributes, printed as (name=value, ...)."""

    def __new__(cls, fields):
        t = super().__new__(cls, [v for _, v in fields])
        t._names = [k for k, _ in fields]
        return t

    def __getattr__(self, name):
        if name in self._names:
            return self[self._names.index(name)]
        raise AttributeError("'tuple' object has no attribute '%s'" % name)

    def __repr__(self):
        return '(%s)' % ', '.join('%s=%r' % f for f in zip(self._names, self))


def make_sys(board):
    ident = board.identity
    path = ['', '/flash', '/flash/lib'] if board.fs.fat else ['', '.frozen', '/lib']
    implementation = [('name', 'micropython'), ('version', (1, 28, 0, '')), ('_machine', ident.machine),
                      ('_mpy', ident.mpy), ('_build', ident.build)]
    if board.opts.no_mpy:
        del implementation[3]

    def exit(code=None):
        raise SystemExit(code) if code is not None else SystemExit()

    def print_exception(exc, file=None):
        text = board.format_exception(exc)
        (file or board.stdout).write(text)

    return MpModule('sys', {
        'argv': [], 'byteorder': 'little', 'exit': exit,
        'implementation': _AttrTuple(implementation),
        'maxsize': 2147483647, 'modules': board.session.loaded, 'path': path,
        'platform': ident.platform, 'print_exception': print_exception,
        'stderr': board.stdout, 'stdin': board.stdin, 'stdout': board.stdout,
        'version': '3.4.0; MicroPython %s' % ident.version, 'version_info': (3, 4, 0),
    })


def make_gc(board):
    state = {'on': True}
    return MpModule('gc', {
        # A real collection would cost milliseconds per call; scripts call it per packet.
        'collect': lambda *a: None,
        'mem_free': lambda: 98304, 'mem_alloc': lambda: 4096,
        'enable': lambda: state.update(on=True), 'disable': lambda: state.update(on=False),
        'isenabled': lambda: state['on'], 'threshold': lambda *a: -1,
    })


def make_micropython(board):
    def kbd_intr(c):
        board.kbd_char = c

    def mem_info(verbose=None):
        board.stdout.write('stack: 508 out of 15360\nGC: total: 102400, used: 4096, free: 98304\n'
                           ' No. of 1-blocks: 42, 2-blocks: 12, max blk sz: 64, max free sz: 6120\n')

    def schedule(func, arg):
        func(arg)

    same = lambda f: f  # noqa: E731 - decorators that change nothing here
    return MpModule('micropython', {
        'const': lambda x: x, 'kbd_intr': kbd_intr, 'mem_info': mem_info,
        'qstr_info': lambda verbose=None: board.stdout.write('qstr pool: n_pool=1, n_qstr=10\n'),
        'stack_use': lambda: 508, 'heap_lock': lambda: 0, 'heap_unlock': lambda: 0,
        'opt_level': lambda level=None: 0 if level is None else None,
        'alloc_emergency_exception_buf': lambda n: None, 'schedule': schedule,
        'native': same, 'viper': same, 'asm_thumb': same,
    })


def make_machine(board):
    ident = board.identity
    clock = board.clock

    def reset(*args):
        if args and board.opts.stock_reset:
            raise TypeError('function takes 0 positional arguments but %d were given' % len(args))
        board.hard_reset('reset')

    def dfu(*args):
        board.hard_reset('dfu')

    def soft_reset():
        raise SystemExit()

    class RTC:
        def __init__(self, *a):
            pass

        def datetime(self, t=None):
            if t is None:
                y, mo, d, h, mi, s, wd, _ = _localtime(clock.now())
                return (y, mo, d, wd, h, mi, s, 0)
            clock.set(_mktime((t[0], t[1], t[2], t[4], t[5], t[6])))

    return MpModule('machine', {
        'reset': reset, 'soft_reset': soft_reset,
        'dfu': dfu, 'bootloader': dfu,
        'unique_id': lambda: ident.unique_id, 'freq': lambda *a: ident.freq if not a else None,
        'reset_cause': lambda: 5 if board.soft_boots else 1, 'idle': lambda: _time.sleep(0.001),
        'disable_irq': lambda: 0, 'enable_irq': lambda state=0: None, 'RTC': RTC,
        'PWRON_RESET': 1, 'HARD_RESET': 2, 'WDT_RESET': 3, 'DEEPSLEEP_RESET': 4, 'SOFT_RESET': 5,
    })


def make_pyb(board):
    class FlashWriter:
        """Brackets writes to the internal flash; nothing to see from outside."""

        def __enter__(self):
            return self

        def __exit__(self, *exc):
            return False

    class LED:
        def __init__(self, n):
            self.n = n

        on = off = toggle = lambda self: None

        def intensity(self, value=None):
            return 0 if value is None else None

    m = make_machine(board)
    return MpModule('pyb', {
        'FlashWriter': FlashWriter, 'LED': LED,
        'delay': lambda ms: _time.sleep(ms / 1000.0), 'udelay': lambda us: _time.sleep(us / 1e6),
        'millis': lambda: int(_time.monotonic() * 1000) & TICKS_MASK,
        'micros': lambda: int(_time.monotonic() * 1e6) & TICKS_MASK,
        'hard_reset': m.reset, 'bootloader': m.dfu, 'sync': lambda: None,
        'unique_id': m.unique_id, 'freq': m.freq, 'info': lambda *a: None,
    })


class _Hash:
    def __init__(self, data=None):
        self._h = _hashlib.new(self._algo)
        self._final = False
        if data is not None:
            self.update(data)

    def update(self, data):
        if self._final:
            raise ValueError('hash is final')
        self._h.update(data)

    def digest(self):
        if self._final:
            raise ValueError('hash is final')
        self._final = True
        return self._h.digest()


def make_hashlib(board):
    members = {}
    for algo in (() if board.no_md5 else ('md5',)) + ('sha1', 'sha256'):
        members[algo] = type(algo, (_Hash,), {'_algo': algo})
    return MpModule('hashlib', members)


def make_binascii(board):
    def a2b_base64(data):
        try:
            return _binascii.a2b_base64(data)
        except _binascii.Error:
            raise ValueError('incorrect padding') from None

    def unhexlify(data):
        try:
            return _binascii.unhexlify(data)
        except _binascii.Error:
            raise ValueError('odd-length string') from None

    def b2a_base64(data, *, newline=True):
        return _binascii.b2a_base64(data, newline=newline)

    return MpModule('binascii', {
        'a2b_base64': a2b_base64, 'b2a_base64': b2a_base64, 'crc32': _binascii.crc32,
        'hexlify': _binascii.hexlify, 'unhexlify': unhexlify,
    })


def make_json(board):
    def dump(obj, stream, separators=None):
        stream.write(json_dumps(obj, separators))

    def load(stream):
        return json_loads(stream.read())

    return MpModule('json', {'dump': dump, 'dumps': json_dumps, 'load': load, 'loads': json_loads})


def make_errno(board):
    return MpModule('errno', dict(ERRNO, errorcode=dict(ERRNO_NAME)))


def make_select(board):
    POLLIN, POLLOUT, POLLERR, POLLHUP = 1, 4, 8, 16

    class Poll:
        def __init__(self):
            self.objs = {}

        def register(self, obj, mask=POLLIN | POLLOUT):
            self.objs[id(obj)] = (obj, mask)

        def modify(self, obj, mask):
            self.objs[id(obj)] = (obj, mask)

        def unregister(self, obj):
            self.objs.pop(id(obj), None)

        def _ready(self):
            out = []
            for obj, mask in self.objs.values():
                ev = mask & POLLOUT
                if mask & POLLIN and (obj not in (board.stdin, board.stdin.buffer) or board.input_waiting()):
                    ev |= POLLIN
                if ev:
                    out.append((obj, ev))
            return out

        def poll(self, timeout=-1):
            deadline = None if timeout is None or timeout < 0 else _time.monotonic() + timeout / 1000.0
            while True:
                ready = self._ready()
                if ready or (deadline is not None and _time.monotonic() >= deadline):
                    return ready
                board.wait_input(0.05 if deadline is None else max(0.0, min(0.05, deadline - _time.monotonic())))

        def ipoll(self, timeout=-1, flags=0):
            return iter(self.poll(timeout))

    return MpModule('select', {'poll': Poll, 'POLLIN': POLLIN, 'POLLOUT': POLLOUT,
                               'POLLERR': POLLERR, 'POLLHUP': POLLHUP})


def make_io(board):
    return MpModule('io', {'BytesIO': io.BytesIO, 'StringIO': io.StringIO, 'open': board.fs.open,
                           'IOBase': io.IOBase})


def _wrap(name, mod, names=None):
    return lambda board: MpModule(name, _namespace(mod, names))


BUILTIN_MODULES = {
    'os': make_os, 'sys': make_sys, 'time': make_time, 'gc': make_gc, 'json': make_json,
    'binascii': make_binascii, 'hashlib': make_hashlib, 'machine': make_machine,
    'micropython': make_micropython, 'errno': make_errno, 'vfs': make_vfs, 'select': make_select,
    'io': make_io,
    'struct': _wrap('struct', struct, ['calcsize', 'pack', 'pack_into', 'unpack', 'unpack_from']),
    'math': _wrap('math', math),
    'random': _wrap('random', _random, ['choice', 'getrandbits', 'randint', 'random', 'randrange',
                                        'seed', 'uniform']),
    're': _wrap('re', _re, ['compile', 'match', 'search', 'sub', 'split']),
    'collections': _wrap('collections', collections, ['OrderedDict', 'deque', 'namedtuple']),
    'array': _wrap('array', array, ['array']),
    'heapq': _wrap('heapq', heapq, ['heapify', 'heappop', 'heappush']),
}
