"""Starts the virtual board for a test and talks to it like a host program."""

import os
import select
import shutil
import subprocess
import sys
import tempfile
import time
import tty

SIMULATOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), '..', 'virtual_board.py')


class BoardTimeout(AssertionError):
    pass


class Link:
    """The host's end of the board's pty."""

    def __init__(self, path):
        self.fd = os.open(path, os.O_RDWR | os.O_NOCTTY)
        tty.setraw(self.fd)
        self.buf = b''

    def close(self):
        if self.fd is not None:
            os.close(self.fd)
            self.fd = None

    def write(self, data):
        view = memoryview(data)
        while view:
            view = view[os.write(self.fd, view[:4096]):]

    def fill(self, deadline):
        left = deadline - time.monotonic()
        if left <= 0 or not select.select([self.fd], [], [], left)[0]:
            return False
        try:
            data = os.read(self.fd, 65536)
        except OSError:
            return False
        self.buf += data
        return bool(data)  # b'': the board's side of the pty is gone

    def read_until(self, token, timeout=5.0):
        deadline = time.monotonic() + timeout
        while token not in self.buf:
            if not self.fill(deadline):
                raise BoardTimeout('no %r; have %r' % (token, self.buf[-300:]))
        end = self.buf.index(token) + len(token)
        out, self.buf = self.buf[:end], self.buf[end:]
        return out

    def read_count(self, n, timeout=5.0):
        deadline = time.monotonic() + timeout
        while len(self.buf) < n and self.fill(deadline):
            pass
        out, self.buf = self.buf[:n], self.buf[n:]
        return out

    def drain(self, quiet=0.1):
        while self.fill(time.monotonic() + quiet):
            pass
        out, self.buf = self.buf, b''
        return out


class VirtualBoard:
    """One simulator process on a fresh directory."""

    def __init__(self, *args, files=None):
        self.tmp = tempfile.mkdtemp(prefix='vboard-')
        self.fs = os.path.join(self.tmp, 'fs')
        os.mkdir(self.fs)
        for rel, data in (files or {}).items():
            path = os.path.join(self.fs, rel)
            if data is None:
                os.makedirs(path, exist_ok=True)
                continue
            os.makedirs(os.path.dirname(path), exist_ok=True)
            with open(path, 'wb') as f:
                f.write(data)
        self.link_path = os.path.join(self.tmp, 'ttyVB')
        self.transcript = os.path.join(self.tmp, 'transcript.txt')
        self.stderr = open(os.path.join(self.tmp, 'stderr.txt'), 'w+')
        self.proc = subprocess.Popen(
            [sys.executable, SIMULATOR, '--fs', self.fs, '--link', self.link_path,
             '--transcript', self.transcript] + list(args),
            stdout=subprocess.PIPE, stderr=self.stderr)
        ready = select.select([self.proc.stdout], [], [], 10)[0]
        self.announced = self.proc.stdout.readline().decode() if ready else ''
        self.link = None
        if not self.announced:
            self.close()
            raise RuntimeError('the virtual board did not start')

    def open(self):
        self.link = Link(self.link_path)
        return self.link

    def wait_link(self, present, timeout=5.0):
        """Whether the port's name comes to be there (or gone, present False) before the timeout."""
        deadline = time.monotonic() + timeout
        while os.path.exists(self.link_path) != present:
            if time.monotonic() > deadline:
                return False
            time.sleep(0.01)
        return True

    def host(self, rel):
        return os.path.join(self.fs, rel)

    def errors(self):
        self.stderr.seek(0)
        return self.stderr.read()

    def close(self):
        if self.link is not None:
            self.link.close()
            self.link = None
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(5)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        self.proc.stdout.close()
        self.stderr.close()
        shutil.rmtree(self.tmp, ignore_errors=True)

    def __enter__(self):
        return self

    def __exit__(self, *exc):
        self.close()


def to_raw(link):
    """From the idle friendly prompt of a fresh board to the idle raw REPL."""
    link.write(b'\x03')
    link.read_until(b'>>> ')
    link.write(b'\x01')
    link.read_until(b'raw REPL; CTRL-B to exit\r\n>')


def raw_run(link, code, timeout=5.0):
    """Runs code in the raw REPL; returns (stdout, error text)."""
    link.write(code.encode() if isinstance(code, str) else code)
    link.write(b'\x04')
    rec = link.read_until(b'\x04>', timeout)
    if not rec.startswith(b'OK') or rec.count(b'\x04') < 2:
        raise AssertionError('not a raw REPL reply: %r' % rec)
    out, err = rec[2:-2].split(b'\x04', 1)
    return out, err


class SharedBoard:
    """Mixin for a TestCase class: one board, idle in the raw REPL, for all its tests."""

    board_args = ()
    board_files = None

    @classmethod
    def setUpClass(cls):
        cls.board = VirtualBoard(*cls.board_args, files=cls.board_files)
        cls.link = cls.board.open()
        to_raw(cls.link)

    @classmethod
    def tearDownClass(cls):
        cls.board.close()

    def run_code(self, code):
        return raw_run(self.link, code)

    def value(self, expr):
        out, err = self.run_code('import os, sys\nprint(repr(%s))' % expr)
        self.assertEqual(err, b'', err)
        return out.rstrip(b'\r\n').decode('utf-8', 'surrogateescape')

    def error(self, code):
        """The last line of the traceback that code raises."""
        out, err = self.run_code(code)
        self.assertTrue(err, 'no error from %r' % code)
        return err.rstrip(b'\r\n').split(b'\r\n')[-1].decode()
