"""The board's file system, kept in a host directory it may never leave."""

import io
import os
import stat as st

from .errors import ERRNO, ENOTDIR, ENOTEMPTY, MpOSError, host_error

ENOENT = ERRNO['ENOENT']
EEXIST = ERRNO['EEXIST']
EPERM = ERRNO['EPERM']
EISDIR = ERRNO['EISDIR']
EACCES = ERRNO['EACCES']
EINVAL = ERRNO['EINVAL']

S_IFDIR = 0x4000
S_IFREG = 0x8000


class BoardFS:
    """FAT at /flash (stm32 family) or littlefs2 at / (esp32 family)."""

    def __init__(self, host_root, family, blocks, clock, sizes=True, block_size=None):
        os.makedirs(host_root, exist_ok=True)
        self.root = os.path.realpath(host_root)
        self.fat = family == 'stm32'
        self.mount = '/flash' if self.fat else '/'
        self.block_size = block_size or (512 if self.fat else 4096)
        self.blocks = blocks
        self.clock = clock
        self.sizes = sizes
        self.cwd = self.mount

    # -- paths -------------------------------------------------------------

    def abspath(self, path):
        if isinstance(path, (bytes, bytearray)):
            path = bytes(path).decode('utf-8', 'surrogateescape')
        if not isinstance(path, str):
            raise TypeError("can't convert '%s' object to str implicitly" % type(path).__name__)
        if '\x00' in path:
            raise MpOSError(EINVAL)
        full = path if path.startswith('/') else self.cwd.rstrip('/') + '/' + path
        parts = []
        for p in full.split('/'):
            if p in ('', '.'):
                continue
            if p == '..':
                if parts:
                    parts.pop()
                continue
            parts.append(p)
        return '/' + '/'.join(parts)

    def locate(self, path):
        """('root'|'outside'|'inside', host path or None, board path)."""
        a = self.abspath(path)
        if self.fat:
            if a == '/':
                return 'root', None, a
            if a != '/flash' and not a.startswith('/flash/'):
                return 'outside', None, a
            rel = a[len('/flash/'):]
        else:
            rel = a[1:]
        host = self.root
        for part in rel.split('/') if rel else ():
            host = os.path.join(host, part)
            try:
                if st.S_ISLNK(os.lstat(host).st_mode):
                    # Host symlinks are not part of the board: they could lead out.
                    raise MpOSError(ENOENT)
            except FileNotFoundError:
                pass
            except NotADirectoryError:
                raise MpOSError(ENOENT)
        return 'inside', host, a

    def host_path(self, path):
        kind, host, _ = self.locate(path)
        if kind != 'inside':
            raise MpOSError(ENOENT)
        return host

    def _lstat(self, host):
        try:
            s = os.lstat(host)
        except OSError as e:
            raise host_error(e)
        if not (st.S_ISDIR(s.st_mode) or st.S_ISREG(s.st_mode)):
            raise MpOSError(ENOENT)
        return s

    # -- reading -----------------------------------------------------------

    def _entries(self, path):
        kind, host, _ = self.locate('' if path is None else path)
        if kind == 'root':
            return [('flash', S_IFDIR, 0, None)]
        if kind == 'outside':
            raise MpOSError(ENOENT)
        s = self._lstat(host)
        if not st.S_ISDIR(s.st_mode):
            raise MpOSError(ENOTDIR if not self.fat else ENOENT)
        out = []
        for name in sorted(os.listdir(host)):
            try:
                e = os.lstat(os.path.join(host, name))
            except OSError:
                continue
            if st.S_ISDIR(e.st_mode):
                out.append((name, S_IFDIR, 0, 0))
            elif st.S_ISREG(e.st_mode):
                out.append((name, S_IFREG, 0, e.st_size))
        return out

    def listdir(self, path=None):
        return [e[0] for e in self._entries(path)]

    def ilistdir(self, path=None):
        out = []
        for name, typ, ino, size in self._entries(path):
            # Mount points come from the root VFS, which has no sizes.
            out.append((name, typ, ino) if size is None or not self.sizes else (name, typ, ino, size))
        return iter(out)

    def _time(self, host_mtime):
        t = max(0, int(self.clock.board_time(host_mtime)))
        return t & ~1 if self.fat else t  # FAT keeps 2-second stamps

    def stat(self, path):
        kind, host, a = self.locate(path)
        if kind == 'root' or (kind == 'inside' and a == self.mount):
            return (S_IFDIR, 0, 0, 0, 0, 0, 0, 0, 0, 0)
        if kind == 'outside':
            raise MpOSError(ENOENT)
        s = self._lstat(host)
        if st.S_ISDIR(s.st_mode):
            if self.fat:
                t = self._time(s.st_mtime)
                return (S_IFDIR, 0, 0, 0, 0, 0, 0, t, t, t)
            # littlefs fills in no size for a directory and keeps no time for
            # it; the recorded firmware reports 2 for the size.
            return (S_IFDIR, 0, 0, 0, 0, 0, 2, 0, 0, 0)
        t = self._time(s.st_mtime)
        return (S_IFREG, 0, 0, 0, 0, 0, s.st_size, t, t, t)

    def used_blocks(self):
        bs = self.block_size
        used = 0 if self.fat else 4
        for top, dirs, files in os.walk(self.root):
            dirs[:] = [d for d in dirs if not os.path.islink(os.path.join(top, d))]
            used += len(dirs) * (1 if self.fat else 2)
            for f in files:
                p = os.path.join(top, f)
                if not os.path.islink(p):
                    used += (os.path.getsize(p) + bs - 1) // bs
        return used

    def statvfs(self, path):
        kind, host, _ = self.locate(path)
        if kind == 'root':
            return (0, 0, 0, 0, 0, 0, 0, 0, 0, 0)
        if kind == 'outside':
            raise MpOSError(ENOENT)
        free = max(0, self.blocks - self.used_blocks())
        return (self.block_size, self.block_size, self.blocks, free, free, 0, 0, 0, 0, 255)

    def getcwd(self):
        return self.cwd

    # -- changing ----------------------------------------------------------

    def _writable(self, path):
        kind, host, a = self.locate(path)
        if kind == 'root' or (kind == 'inside' and a == self.mount):
            raise MpOSError(EPERM)
        if kind == 'outside':
            raise MpOSError(ENOENT)
        return host

    def chdir(self, path):
        kind, host, a = self.locate(path)
        if kind == 'outside':
            raise MpOSError(ENOENT)
        if kind == 'inside' and not st.S_ISDIR(self._lstat(host).st_mode):
            raise MpOSError(ENOENT)
        self.cwd = a

    def mkdir(self, path):
        kind, host, a = self.locate(path)
        if kind == 'root' or (kind == 'inside' and a == self.mount):
            raise MpOSError(EEXIST)
        if kind == 'outside':
            raise MpOSError(ENOENT)
        try:
            os.mkdir(host)
        except OSError as e:
            raise host_error(e)

    def _remove(self, path, want_dir):
        host = self._writable(path)
        s = self._lstat(host)
        is_dir = st.S_ISDIR(s.st_mode)
        if is_dir:
            if self.fat and not want_dir:
                raise MpOSError(EISDIR)
            if os.listdir(host):
                raise MpOSError(EACCES if self.fat else ENOTEMPTY)
        elif self.fat and want_dir:
            raise MpOSError(ENOTDIR)
        try:
            (os.rmdir if is_dir else os.unlink)(host)
        except OSError as e:
            raise host_error(e)

    def remove(self, path):
        self._remove(path, False)

    def rmdir(self, path):
        self._remove(path, True)

    def rename(self, old, new):
        src = self._writable(old)
        dst = self._writable(new)
        self._lstat(src)
        if os.path.isdir(dst) and not os.path.islink(dst):
            if not os.path.isdir(src) or os.listdir(dst):
                raise MpOSError(EISDIR if self.fat else ENOTEMPTY)
        try:
            os.replace(src, dst)
        except OSError as e:
            raise host_error(e)

    def open(self, path, mode='r', buffering=-1, encoding=None, **_):
        if not isinstance(mode, str) or not mode or set(mode) - set('rwaxbt+') \
                or sum(mode.count(c) for c in 'rwax') != 1:
            raise ValueError('invalid mode')
        kind, host, a = self.locate(path)
        if kind != 'inside':
            raise MpOSError(ENOENT)
        if a == self.mount:
            raise MpOSError(EISDIR if not self.fat else ENOENT)
        plus = '+' in mode
        if 'r' in mode:
            flags = os.O_RDWR if plus else os.O_RDONLY
        else:
            flags = (os.O_RDWR if plus else os.O_WRONLY) | os.O_CREAT
            flags |= {'w': os.O_TRUNC, 'a': os.O_APPEND, 'x': os.O_EXCL}[mode.strip('bt+')]
        if os.path.isdir(host) and not os.path.islink(host):
            raise MpOSError((EACCES if 'r' not in mode else ENOENT) if self.fat else EISDIR)
        try:
            fd = os.open(host, flags | os.O_NOFOLLOW | os.O_CLOEXEC, 0o644)
        except OSError as e:
            raise host_error(e)
        pymode = mode.replace('t', '')
        if 'b' in mode:
            return io.open(fd, pymode, closefd=True)
        return io.open(fd, pymode, closefd=True, encoding='utf-8', errors='surrogateescape', newline='')
