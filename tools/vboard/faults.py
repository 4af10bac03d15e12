"""The receiving side of the line and the faults it can be told to inject."""

import random
import select
import sys
import threading
import time
import traceback


class Faults:
    """Thresholds counted in bytes received from the host since start."""

    def __init__(self, opts):
        self.drop_after = opts.drop_after
        self.return_after = opts.return_after
        self.stall_after = opts.stall_after
        self.stall_ms = opts.stall_ms
        self.noise_after = opts.noise_after
        self.noise_bytes = opts.noise_bytes
        self.mute_after = opts.mute_after
        self.stalled = self.noised = self.dropped = False

    def next_threshold(self, total):
        marks = [m for m, done in ((self.drop_after, self.dropped), (self.stall_after, self.stalled),
                                   (self.noise_after, self.noised), (self.mute_after, False))
                 if m is not None and not done and m > total]
        return min(marks) if marks else None


def noise(count):
    # Printable, but never the raw REPL's record end nor a line end.
    alphabet = bytes(c for c in range(0x20, 0x7f) if c not in b'>\n')
    return bytes(random.choice(alphabet) for _ in range(count))


class Reader(threading.Thread):
    """Moves bytes from the pty into the board's input queue."""

    def __init__(self, board, port, queue, faults, baud):
        super().__init__(name='pty-reader', daemon=True)
        self.board = board
        self.port = port
        self.queue = queue
        self.faults = faults
        self.byte_rate = baud / 10.0 if baud else 0.0
        self.total = 0

    def run(self):
        while True:
            try:
                self.serve()
            except Exception:
                traceback.print_exc()  # keep listening: a deaf board helps nobody
                time.sleep(0.1)

    def serve(self):
        poller = None
        poll_gen = None
        allowance = 0.0
        last = time.monotonic()
        while True:
            fd, gen = self.port.current()
            if fd is None:
                self.port.wait_present(0.2)
                continue
            if gen != poll_gen:
                poller = select.poll()
                poller.register(fd, select.POLLIN)
                poll_gen = gen
            room = self.queue.wait_room(0.1)
            if room <= 0:
                continue
            try:
                events = poller.poll(100)
            except OSError:
                continue
            if not events:
                continue
            ev = events[0][1]
            if ev & select.POLLNVAL:
                time.sleep(0.005)
                continue
            if not ev & select.POLLIN:
                time.sleep(0.01)  # nobody holds the port
                continue
            limit = min(room, 65536)
            if self.byte_rate:
                now = time.monotonic()
                allowance = min(allowance + (now - last) * self.byte_rate, max(16.0, self.byte_rate * 0.01))
                last = now
                if allowance < 1:
                    time.sleep((1 - allowance) / self.byte_rate + 0.001)
                    continue
                limit = min(limit, int(allowance))
            mark = self.faults.next_threshold(self.total)
            if mark is not None:
                limit = min(limit, mark - self.total)
            data = self.port.read(fd, gen, limit)
            if data is None:
                time.sleep(0.01)  # the host closed the port under us
                continue
            if not data:
                continue
            if self.byte_rate:
                allowance -= len(data)
            self.total += len(data)
            self.port.transcript.log('>>', data)
            # Muting and noise come before the board reacts to the bytes that
            # crossed the mark, stalls and drops after.
            self.faults_before()
            self.board.receive(data)
            dropped = self.queue.take_dropped()
            if dropped:
                print('receive buffer full: %d bytes dropped' % dropped, file=sys.stderr, flush=True)
            self.faults_after()

    def faults_before(self):
        f = self.faults
        if f.mute_after is not None and self.total >= f.mute_after:
            self.port.muted = True
        if f.noise_after is not None and not f.noised and self.total >= f.noise_after:
            f.noised = True
            self.port.write(noise(f.noise_bytes))

    def faults_after(self):
        f = self.faults
        if f.stall_after is not None and not f.stalled and self.total >= f.stall_after:
            f.stalled = True
            time.sleep(f.stall_ms / 1000.0)
        if f.drop_after is not None and not f.dropped and self.total >= f.drop_after:
            f.dropped = True
            self.port.vanish()
            self.board.request_reset('drop')
