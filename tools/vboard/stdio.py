"""sys.stdin and sys.stdout of the board."""


def encode(text):
    try:
        return text.encode('utf-8', 'surrogateescape')
    except UnicodeEncodeError:
        return text.encode('utf-8', 'surrogatepass')


class StdoutBuffer:
    def __init__(self, board):
        self._board = board

    def write(self, data):
        data = bytes(data)
        self._board.user_write(data, cooked=False)
        return len(data)

    def flush(self):
        pass


class Stdout:
    """Text output: every LF goes out as CR LF."""

    def __init__(self, board):
        self._board = board
        self.buffer = StdoutBuffer(board)

    def write(self, s):
        data = encode(s) if isinstance(s, str) else bytes(s)
        self._board.user_write(data, cooked=True)
        return len(s)

    def flush(self):
        pass

    def __repr__(self):
        return '<io.TextIOWrapper 1>'


class StdinBuffer:
    """Raw bytes from the line; a read blocks until all asked for have come."""

    def __init__(self, board):
        self._board = board

    def read(self, n=-1):
        if n is None or n < 0:
            return self._board.read_input(None)
        return self._board.read_input(n)

    def readinto(self, buf, n=None):
        mv = memoryview(buf).cast('B')
        k = len(mv) if n is None else min(n, len(mv))
        mv[:k] = self._board.read_input(k)
        return k

    def readline(self, limit=-1):
        out = bytearray()
        while limit < 0 or len(out) < limit:
            c = self._board.read_input(1)
            out += c
            if c == b'\n':
                break
        return bytes(out)


def _utf8_len(b):
    if b < 0x80:
        return 1
    if b & 0xe0 == 0xc0:
        return 2
    if b & 0xf0 == 0xe0:
        return 3
    if b & 0xf8 == 0xf0:
        return 4
    return 5


class Stdin:
    """Text input: CR becomes LF, counts are in characters."""

    def __init__(self, board):
        self._board = board
        self.buffer = StdinBuffer(board)

    def _cooked(self, n):
        return self._board.read_input(n).replace(b'\r', b'\n')

    def read(self, n=-1):
        if n is None or n < 0:
            data = self._board.read_input(None)
            return data.decode()
        # Never read ahead: take n bytes, then as many more as the partial
        # characters need, like the firmware's stream reader.
        buf = bytearray()
        want = n
        more = n
        done = 0
        while more > 0:
            buf += self._cooked(more)
            off = done
            while True:
                k = _utf8_len(buf[off])
                if off + k <= len(buf):
                    off += k
                    want -= 1
                    done = off
                    if off >= len(buf):
                        more = want
                        break
                else:
                    more = (off + k - len(buf)) + (want - 1)
                    break
        try:
            return bytes(buf).decode('utf-8')
        except UnicodeDecodeError:
            raise UnicodeError() from None

    def readinto(self, buf):
        mv = memoryview(buf).cast('B')
        mv[:] = self._cooked(len(mv))
        return len(mv)

    def readline(self):
        out = bytearray()
        while True:
            c = self._cooked(1)
            out += c
            if c == b'\n':
                break
        try:
            return bytes(out).decode('utf-8')
        except UnicodeDecodeError:
            raise UnicodeError() from None

    def __iter__(self):
        return self

    def __next__(self):
        return self.readline()

    def __repr__(self):
        return '<io.TextIOWrapper 0>'
