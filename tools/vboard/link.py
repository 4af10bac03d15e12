"""The serial line: the pty behind a stable link, its input queue and output pacing."""

import os
import random
import select
import threading
import time
import tty


class Transcript:
    """Every chunk in both directions, in the notation of the board traces."""

    def __init__(self, path):
        self.lock = threading.Lock()
        self.file = open(path, 'a', buffering=1) if path else None

    def log(self, arrow, data):
        if self.file is not None:
            with self.lock:
                self.file.write('%s %r\n' % (arrow, bytes(data)))
                self.file.flush()


class InputQueue:
    """Bytes received and not yet consumed; at most LIMIT, like the UART's ring buffer.

    With a capacity the line has no flow control: while running code is not
    reading, bytes beyond the capacity are lost, as a UART without handshake
    loses them when its small receive buffer is full."""

    LIMIT = 1024
    UNLIMITED = 1 << 30

    def __init__(self, capacity=None):
        self.lock = threading.Lock()
        self.ready = threading.Condition(self.lock)
        self.space = threading.Condition(self.lock)
        self.buf = bytearray()
        self.interrupt = False
        self.reset = None
        self.capacity = capacity
        self.running = False  # code runs: only its own reads take bytes
        self.wanted = 0       # bytes a read of the running code still waits for
        self.dropped = 0

    def feed(self, data, interrupt_at=None, kbd=None):
        with self.lock:
            if interrupt_at is not None:
                self.interrupt = True
                data = data[:interrupt_at] + data[interrupt_at + 1:].replace(kbd, b'')
            if self.capacity is not None and self.running:
                room = max(0, self.capacity + self.wanted - len(self.buf))
                if len(data) > room:
                    self.dropped += len(data) - room
                    data = data[:room]
            self.buf += data
            self.ready.notify_all()

    def take_dropped(self):
        with self.lock:
            n, self.dropped = self.dropped, 0
            return n

    def poke(self):
        with self.lock:
            self.ready.notify_all()
            self.space.notify_all()

    def wait_room(self, timeout):
        if self.capacity is not None:
            return self.UNLIMITED  # nothing holds the sender back
        with self.lock:
            room = self.LIMIT - len(self.buf)
            if room <= 0:
                self.space.wait(timeout)
                room = self.LIMIT - len(self.buf)
            return room

    def clear(self):
        with self.lock:
            del self.buf[:]
            self.interrupt = False
            self.space.notify_all()

    # Consumers, all on the board's thread, with the lock held by the caller.

    def take(self, n):
        data = bytes(self.buf[:n])
        del self.buf[:n]
        self.space.notify_all()
        return data


class Port:
    """The pty master and the symlink that points at its slave."""

    def __init__(self, link, transcript, baud=0, delivery='usb', seed=None):
        self.link = os.path.abspath(link)
        self.transcript = transcript
        self.lock = threading.Lock()
        self.wlock = threading.Lock()
        self.fd = None
        self.generation = 0
        self.present = threading.Condition(self.lock)
        self.muted = False
        # A USB-UART bridge has a line rate even when the test does not set one.
        if delivery == 'uart' and not baud:
            baud = 115200
        self.byte_time = 10.0 / baud if baud else 0.0
        self.tx_free = 0.0
        self.pieces = self._piece_sizes(delivery, baud, seed)

    @staticmethod
    def _piece_sizes(delivery, baud, seed):
        """How the host's reads see the board's output: an endless run of piece sizes."""
        if delivery == 'uart':
            # What 1 ms of the line carries, as a bridge polled every millisecond hands it on.
            size = max(1, baud // 10000)
            return lambda: size
        if delivery == 'bytes':
            return lambda: 1
        if delivery == 'random':
            rng = random.Random(seed)
            return lambda: rng.choice((1, 1, 2, 3, 5, 8, 13, 64, 300))
        return None

    def open(self):
        master, slave = os.openpty()
        # Raw on the slave, so the line discipline neither echoes nor translates.
        tty.setraw(slave)
        name = os.ttyname(slave)
        os.close(slave)
        os.set_blocking(master, True)
        tmp = '%s.%d.tmp' % (self.link, os.getpid())
        if os.path.lexists(tmp):
            os.unlink(tmp)
        os.symlink(name, tmp)
        os.replace(tmp, self.link)
        with self.lock:
            self.fd = master
            self.generation += 1
            self.present.notify_all()

    def vanish(self):
        with self.lock:
            fd, self.fd = self.fd, None
            self.generation += 1
        self.unlink()
        if fd is not None:
            try:
                os.close(fd)
            except OSError:
                pass

    def move(self, link):
        """The next open() makes the port appear under link; only while it is gone."""
        with self.lock:
            self.link = os.path.abspath(link)

    def unlink(self):
        try:
            if os.path.islink(self.link):
                os.unlink(self.link)
        except OSError:
            pass

    def current(self):
        with self.lock:
            return self.fd, self.generation

    def wait_present(self, timeout):
        with self.lock:
            if self.fd is None:
                self.present.wait(timeout)

    def read(self, fd, generation, n):
        with self.lock:
            if generation != self.generation:
                return b''
            try:
                return os.read(fd, n)
            except OSError:
                return None

    def host_present(self, fd):
        # A master polls POLLHUP while no program has the slave open.
        try:
            p = select.poll()
            p.register(fd, select.POLLOUT)
            return not any(ev & (select.POLLHUP | select.POLLNVAL) for _, ev in p.poll(0))
        except (OSError, ValueError):
            return False

    def write(self, data):
        """Sends to the host; lost when no host holds the port, as on the real line."""
        if self.muted or not data:
            return
        with self.wlock:
            fd = self.fd
            if fd is None or not self.host_present(fd):
                return
            self.transcript.log('<<', data)
            view = memoryview(data)
            try:
                while view:
                    if self.pieces is not None:
                        step = self.pieces()
                    elif self.byte_time:
                        step = max(1, int(0.005 / self.byte_time))
                    else:
                        step = len(view)
                    piece = view[:step]
                    if self.byte_time:
                        now = time.monotonic()
                        if self.tx_free > now:
                            time.sleep(self.tx_free - now)
                        self.tx_free = max(now, self.tx_free) + len(piece) * self.byte_time
                    elif self.pieces is not None and len(view) > step:
                        # Unthrottled pieces still leave one by one, so that a
                        # reader can wake up between them.
                        time.sleep(0.0002)
                    n = os.write(fd, piece)
                    view = view[n:]
            except OSError:
                pass
