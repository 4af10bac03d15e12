"""The board: its boot sequence, resets, I/O paths and code execution."""

import os
import signal
import sys
import threading
import time
import traceback

from .errors import HardReset, format_exception
from .faults import Faults, Reader
from .fs import BoardFS
from .identity import Identity
from .link import InputQueue, Port, Transcript
from .modules import Clock
from .repl import ReplMixin
from .runtime import Session, board_compile, text_bytes
from .stdio import Stdin, Stdout

# Signal used to raise KeyboardInterrupt (or a reset) in the board's thread.
KICK = signal.SIGUSR1


def _b64_twin(b):
    # Another byte of the same base64 class, so corruption stays plausible.
    if 0x41 <= b <= 0x5a or 0x61 <= b <= 0x7a:
        return b ^ 0x20
    if 0x30 <= b <= 0x39:
        return 0x30 + (b - 0x30 + 1) % 10
    return {0x2b: 0x2f, 0x2f: 0x2b}.get(b, b)


class Corruption:
    """Replaces the N-th byte of one stream during the first command starting with CALL."""

    def __init__(self, target):
        self.call, self.nth = target if target else (None, 0)
        self.armed = False
        self.count = 0

    def arm(self, source):
        if self.call is not None and source.lstrip().startswith(self.call):
            self.armed = True
            self.count = 0

    def disarm(self):
        if self.armed:
            self.armed = False
            self.call = None  # only the first such command

    def apply(self, data):
        if not self.armed or not data:
            return data
        i = self.nth - 1 - self.count
        self.count += len(data)
        if 0 <= i < len(data):
            data = bytearray(data)
            data[i] = _b64_twin(data[i])
            self.armed = False
            self.call = None
            return bytes(data)
        return data


class Board(ReplMixin):
    def __init__(self, opts):
        self.opts = opts
        self.family = opts.family
        self.identity = Identity(opts.identity)
        self.reset_mode = opts.reset_mode
        self.no_md5 = opts.no_md5
        self.clock = Clock(self.identity.clock_from_boot)
        blocks = {('stm32', 'reference'): 2008, ('esp32', 'reference'): 256}.get(
            (self.family, opts.identity), 2008 if self.family == 'stm32' else 512)
        block_size, blocks = opts.geometry or (None, blocks)
        self.fs = BoardFS(opts.fs, self.family, blocks, self.clock, sizes=not opts.no_sizes, block_size=block_size)
        self.transcript = Transcript(opts.transcript)
        self.port = Port(opts.link, self.transcript, opts.baud, opts.delivery, opts.seed)
        self.queue = InputQueue(opts.rx_buffer)
        self.faults = Faults(opts)
        self.rx_fault = Corruption(opts.corrupt_rx)
        self.tx_fault = Corruption(opts.corrupt_tx)
        if opts.mute_after == 0:
            self.port.muted = True
        self.stdout = Stdout(self)
        self.stdin = Stdin(self)
        self.obuf = bytearray()
        # Output leaves like a USB CDC endpoint's: what running code writes in
        # quick succession goes out together, at the latest when the board waits.
        self.olock = threading.RLock()
        self.flush_due = None
        self.flush_wake = threading.Condition(self.olock)
        threading.Thread(target=self._flusher, name='flusher', daemon=True).start()
        self.executing = False
        self.kbd_char = 3
        self.mode = 'friendly'
        self.last_cr = False
        self.history = []
        self.soft_boots = 0
        self.reset_pending = None
        self.session = None
        self.silent = True
        self.live_lock = threading.Lock()
        self.main_ident = threading.main_thread().ident

    # -- output ------------------------------------------------------------

    def out(self, data):
        with self.olock:
            self.obuf += data

    def flush(self):
        with self.olock:
            self.flush_due = None
            if self.silent:
                del self.obuf[:]
            elif self.obuf:
                data = bytes(self.obuf)
                del self.obuf[:]
                self.port.write(data)

    def _flusher(self):
        with self.olock:
            while True:
                if self.flush_due is None:
                    self.flush_wake.wait()
                    continue
                delay = self.flush_due - time.monotonic()
                if delay > 0:
                    self.flush_wake.wait(delay)
                    continue
                self.flush()

    def go_live(self):
        """Boot output made before this point went nowhere; now the board is up."""
        with self.live_lock:
            if self.silent:
                self.silent = False
                sys.stdout.write(self.port.link + '\n')
                sys.stdout.flush()

    def _idle(self):
        # About to wait for input: whatever was said so far goes out now.
        if self.silent:
            del self.obuf[:]
            self.go_live()
        self.flush()

    def text(self, s):
        return text_bytes(s)

    def user_write(self, data, cooked):
        if cooked:
            data = data.replace(b'\n', b'\r\n')
        with self.olock:
            self.obuf += self.tx_fault.apply(data)
            if len(self.obuf) >= 4096:
                self.flush()
            elif self.flush_due is None:
                self.flush_due = time.monotonic() + 0.002
                self.flush_wake.notify()

    # -- input -------------------------------------------------------------

    def receive(self, data):
        """Reader thread: Ctrl-C is caught as it arrives while code runs."""
        c = self.kbd_char
        if self.executing and 0 <= c < 256:
            i = data.find(c)
            if i >= 0:
                self.queue.feed(data, i, bytes([c]))
                self._kick()
                return
        self.queue.feed(data)

    def _kick(self, again=False):
        """Makes the board's thread take a pending interrupt or reset."""
        q = self.queue
        if again and not (self.executing and (q.interrupt or q.reset)):
            return
        signal.pthread_kill(self.main_ident, KICK)
        # A signal that lands just before the board's thread enters a blocking
        # call (a sleep) does not wake it: repeat until it is taken.
        timer = threading.Timer(0.05, self._kick, (True,))
        timer.daemon = True
        timer.start()

    def request_reset(self, kind):
        """Reader thread: the port is gone; the board restarts."""
        self.queue.reset = kind
        self.queue.poke()
        if self.executing:
            self._kick()

    def _on_kick(self, signum, frame):
        if not self.executing:
            return
        q = self.queue
        if q.reset:
            raise HardReset(q.reset)
        if q.interrupt:
            q.interrupt = False
            raise KeyboardInterrupt()

    def _pending(self, user):
        q = self.queue
        if q.reset:
            raise HardReset(q.reset)
        if user and q.interrupt:
            q.interrupt = False
            raise KeyboardInterrupt()

    def getc(self, user=False):
        q = self.queue
        # input() of running code reads the line as it comes
        q.wanted = q.UNLIMITED
        try:
            while True:
                with q.lock:
                    self._pending(user)
                    if q.buf:
                        c = q.buf[0]
                        del q.buf[0]
                        q.space.notify_all()
                        return c
                    if not self.obuf and not self.silent:
                        q.ready.wait(0.5)
                        continue
                self._idle()
        finally:
            q.wanted = 0

    def take_chunk(self, stops):
        """All bytes up to the first match of stops, and the stop byte (or None)."""
        q = self.queue
        while True:
            with q.lock:
                self._pending(False)
                if q.buf:
                    m = stops.search(q.buf)
                    if m is None:
                        return q.take(len(q.buf)), None
                    data = q.take(m.start() + 1)
                    return data[:-1], data[-1]
                if not self.obuf and not self.silent:
                    q.ready.wait(0.5)
                    continue
            self._idle()

    def read_input(self, n):
        """Running code reads n bytes (None: until the line closes, i.e. forever)."""
        q = self.queue
        out = bytearray()
        # Reading before the output goes: an answer to it may come back at once.
        q.wanted = q.UNLIMITED if n is None else n
        try:
            self._idle()
            with q.lock:
                while n is None or len(out) < n:
                    self._pending(True)
                    if q.buf:
                        out += q.take(len(q.buf) if n is None else n - len(out))
                        q.wanted = q.UNLIMITED if n is None else n - len(out)
                        continue
                    q.ready.wait(0.5)
        finally:
            q.wanted = 0
        return self.rx_fault.apply(bytes(out))

    def input_waiting(self):
        return len(self.queue.buf)

    def wait_input(self, timeout):
        self._idle()
        q = self.queue
        with q.lock:
            self._pending(True)
            if not q.buf:
                q.ready.wait(timeout)
            self._pending(True)

    def input_line(self, prompt=''):
        buf = bytearray()
        r = self.readline(buf, self.text(str(prompt)), user=True)
        if r == 3:
            raise KeyboardInterrupt()
        if r == 4 and not buf:
            raise EOFError()
        return bytes(buf).decode('utf-8', 'surrogateescape')

    # -- running code ------------------------------------------------------

    def format_exception(self, exc):
        return format_exception(exc, self.session.files)

    def hard_reset(self, kind):
        self.reset_pending = kind
        raise HardReset(kind)

    def _reset_due(self):
        # Code may swallow the HardReset exception; the reset happens all the same.
        kind = self.reset_pending or self.queue.reset
        if kind:
            raise HardReset(kind)

    def execute(self, source, kind, filename='<stdin>', raw=False):
        """Runs one command; True means the board must soft-reset (SystemExit)."""
        q = self.queue
        q.interrupt = False
        self.rx_fault.arm(source)
        self.tx_fault.arm(source)
        forced = False
        self.flush()
        q.running = True
        try:
            try:
                code = board_compile(source, filename, kind)
                self.executing = True
                try:
                    exec(code, self.session.globals)
                finally:
                    self.executing = False
                self._reset_due()
            except HardReset:
                raise
            except SystemExit:
                self._reset_due()
                if raw:
                    self.out(b'\x04')
                forced = True
            except BaseException as e:
                self.executing = False
                self._reset_due()
                if raw:
                    self.out(b'\x04')
                self.out(self.text(self.format_exception(e)))
            else:
                if raw:
                    self.out(b'\x04')
            if raw:
                self.out(b'\x04')
        finally:
            self.executing = False
            q.running = False
            q.interrupt = False
            self.rx_fault.disarm()
            self.tx_fault.disarm()
        return forced

    def run_file(self, name):
        try:
            host = self.fs.host_path(self.fs.mount.rstrip('/') + '/' + name)
        except OSError:
            return False
        if not os.path.isfile(host) or os.path.islink(host):
            return False
        with open(host, 'rb') as f:
            source = f.read()
        return self.execute(source, 'exec', filename=name)

    # -- life cycle --------------------------------------------------------

    def _sleep_forever(self):
        while True:
            time.sleep(3600)

    def _after_hard_reset(self, kind):
        delay = self.opts.reset_delay / 1000.0
        if kind == 'dfu':
            self.port.vanish()
            self._sleep_forever()
        if kind == 'drop':
            self.port.vanish()
            if self.opts.return_after is None:
                self._sleep_forever()
            time.sleep(self.opts.return_after / 1000.0)
            self._reappear()
        elif self.reset_mode == 'usb':
            self.port.vanish()
            time.sleep(delay)
            self._reappear()
        elif self.reset_mode == 'uart':
            time.sleep(delay)
            self.queue.clear()
            self.out(self.identity.rom_log)
        self.queue.reset = None

    def _reappear(self):
        self.queue.clear()
        if self.opts.return_link:
            self.port.move(self.opts.return_link)
        self.port.open()

    def boot(self, kind):
        """One run of the firmware from (re)start to the next soft reset."""
        if kind not in ('power', 'soft'):
            self._after_hard_reset(kind)
        if kind != 'soft':
            self.mode = 'friendly'
        self.soft_boots += kind == 'soft'
        self.reset_pending = None
        self.executing = False
        self.last_cr = False
        self.kbd_char = 3
        self.fs.cwd = self.fs.mount
        self.session = Session(self)
        sys.displayhook = self.session.display
        forced = self.run_file('boot.py')
        if not forced and self.mode == 'friendly':
            forced = self.run_file('main.py')
        while not forced:
            forced = self.raw_repl() if self.mode == 'raw' else self.friendly_repl()
        if self.identity.sync_on_soft_reset:
            self.out(b'MPY: sync filesystems\r\n')
        self.out(b'MPY: soft reboot\r\n')

    def shutdown(self, signum=None, frame=None):
        self.port.unlink()
        os._exit(0)

    def run(self):
        signal.signal(KICK, self._on_kick)
        signal.signal(signal.SIGTERM, self.shutdown)
        signal.signal(signal.SIGINT, self.shutdown)
        self.port.open()
        Reader(self, self.port, self.queue, self.faults, self.opts.baud).start()
        # A main.py that never waits for input must not keep the port unannounced.
        timer = threading.Timer(1.0, self.go_live)
        timer.daemon = True
        timer.start()
        kind = 'power'
        while True:
            try:
                self.boot(kind)
                kind = 'soft'
            except HardReset as r:
                self.flush()
                kind = r.kind
            except Exception:
                # A fault of the simulator itself: report it and reboot rather than die.
                traceback.print_exc()
                del self.obuf[:]
                self.queue.clear()
                kind = 'power'
