"""The friendly REPL with its line editor, paste mode, the raw REPL and raw-paste mode."""

import re
import struct

from . import completion

CTRL_A, CTRL_B, CTRL_C, CTRL_D, CTRL_E = 1, 2, 3, 4, 5
RAW_BANNER = b'raw REPL; CTRL-B to exit\r\n'
RAW_PASTE_WINDOW = 128

_COMPOUND = re.compile(rb'(if|while|for|try|with|def|class|async)(?![A-Za-z0-9_])')
_RAW_STOPS = re.compile(rb'[\x01-\x04]')
_PASTE_STOPS = re.compile(rb'[\x03\x04]')

# Cursor keys map onto the editing keys of the same meaning.
HOME, END, DELETE = -1, -2, -3
_ESC_KEYS = {b'A': 0x10, b'B': 0x0e, b'C': 0x06, b'D': 0x02, b'H': HOME, b'1~': HOME, b'7~': HOME,
             b'F': END, b'4~': END, b'8~': END, b'3~': DELETE}

Q_NONE, Q_1_SINGLE, Q_1_DOUBLE, Q_3_SINGLE, Q_3_DOUBLE = 0, 1, 2, 3, 4


def continue_with_input(text):
    """Whether the friendly REPL asks for another line after `text`."""
    if not text:
        return False
    compound = text[:1] == b'@' or _COMPOUND.match(text) is not None
    depth = {'(': 0, '[': 0, '{': 0}
    closing = {')': '(', ']': '[', '}': '{'}
    q = Q_NONE
    i = 0
    n = len(text)
    while i < n:
        c = chr(text[i])
        if c in '\'"':
            single, triple = (Q_1_SINGLE, Q_3_SINGLE) if c == "'" else (Q_1_DOUBLE, Q_3_DOUBLE)
            if q in (Q_NONE, triple) and text[i + 1:i + 3] == (c * 2).encode():
                i += 2
                q = triple - q
            elif q in (Q_NONE, single):
                q = single - q
        elif c == '\\' and text[i + 1:i + 2] in (b"'", b'"', b'\\'):
            if q != Q_NONE:
                i += 1
        elif q == Q_NONE:
            if c in depth:
                depth[c] += 1
            elif c in closing:
                depth[closing[c]] -= 1
        i += 1
    if q in (Q_3_SINGLE, Q_3_DOUBLE):
        return True
    if q == Q_NONE and any(v > 0 for v in depth.values()):
        return True
    if text.endswith(b'\\'):
        return True
    return compound and not text.endswith(b'\n')


class ReplMixin:
    """The REPL loops of the firmware; the board supplies I/O and execution."""

    def _move_back(self, n):
        if n > 0:
            self.out(b'\b' * n if n <= 4 else b'\x1b[%dD' % n)

    def _auto_indent(self, buf):
        if len(buf) < 2 or buf[-1] != 0x0a:
            return
        i = len(buf) - 1
        while i > 0 and buf[i - 1] != 0x0a:
            i -= 1
        j = i
        while j < len(buf) and buf[j] == 0x20:
            j += 1
        if i > 0 and j + 1 == len(buf):
            # The last line is blank: a second blank line in a row ends the indent.
            k = i - 1
            while k > 0:
                if buf[k - 1] == 0x0a:
                    return
                if buf[k - 1] != 0x20:
                    break
                k -= 1
        n = (j - i) // 4 + (1 if buf[-2] == ord(':') else 0)
        if n > 0:
            buf += b'    ' * n
            self.out(b'    ' * n)

    def readline(self, buf, prompt, user=False):
        """Edits the line after buf's current end; returns 0 on Enter or a control key."""
        self.out(prompt)
        orig = len(buf)
        if not user:
            self._auto_indent(buf)
        cursor = len(buf)
        esc = b''
        hist = -1
        while True:
            c = self.getc(user)
            last_cr, self.last_cr = self.last_cr, False
            last_len = len(buf)
            back = fwd = 0
            redraw = False
            if esc:
                esc += bytes([c])
                if esc in (b'\x1b[', b'\x1bO') or (esc[:2] == b'\x1b[' and len(esc) == 3 and c in b'0123456789'):
                    continue
                key = esc[2:] if esc[:2] in (b'\x1b[', b'\x1bO') else None
                esc = b''
                c = _ESC_KEYS.get(key)
                if c is None:
                    continue
            elif 1 <= c <= 5 and len(buf) == orig:
                return c
            if c == CTRL_C:
                return c
            if c in (CTRL_A, HOME):
                back = cursor - orig
            elif c == CTRL_B:
                if cursor > orig:
                    back = 1
            elif c in (CTRL_D, DELETE):
                if cursor < len(buf):
                    del buf[cursor]
                    redraw = True
            elif c in (CTRL_E, END):
                fwd = len(buf) - cursor
            elif c == 0x06:
                if cursor < len(buf):
                    fwd = 1
            elif c == 0x0b:
                del buf[cursor:]
                redraw = True
            elif c == 0x15:
                back = cursor - orig
                del buf[orig:cursor]
                redraw = True
            elif c in (0x10, 0x0e):
                new = hist + (1 if c == 0x10 else -1)
                if -1 <= new < len(self.history) and new != hist:
                    hist = new
                    back = cursor - orig
                    buf[orig:] = self.history[hist] if hist >= 0 else b''
                    redraw = True
                    fwd = len(buf) - orig
            elif c == 0x0d or c == 0x0a:
                if c == 0x0a and last_cr:
                    continue  # the LF of a CR LF pair
                self.out(b'\r\n')
                self.last_cr = c == 0x0d
                line = bytes(buf[orig:])
                if line.strip() and (not self.history or self.history[0] != line):
                    self.history.insert(0, line)
                    del self.history[8:]
                return 0
            elif c == 0x1b:
                esc = b'\x1b'
                continue
            elif c in (0x08, 0x7f):
                if cursor > orig:
                    head = buf[orig:cursor]
                    n = 4 if len(head) >= 4 and head.strip(b' ') == b'' else 1
                    del buf[cursor - n:cursor]
                    back = n
                    redraw = True
            elif c == 0x09:
                if buf[orig:cursor].strip(b' ') == b'':
                    buf[cursor:cursor] = b'    '
                    redraw = True
                    fwd = 4
                else:
                    prefix, names = completion.candidates(bytes(buf[orig:cursor]), self.session)
                    rest = completion.insertion(prefix, names).encode()
                    if rest:
                        buf[cursor:cursor] = rest
                        redraw = True
                        fwd = len(rest)
                    elif len(names) > 1:
                        self.out(completion.columns(names) + prompt + bytes(buf[orig:cursor]))
                        redraw = True
            elif 0x20 <= c <= 0x7e:
                # The line editor keeps printable ASCII only: UTF-8 typed here is lost.
                buf.insert(cursor, c)
                redraw = True
                fwd = 1
            if back:
                self._move_back(back)
                cursor -= back
            if redraw:
                if len(buf) < last_len:
                    self.out(b'\x1b[K')
                self.out(bytes(buf[cursor:]))
                self._move_back(len(buf) - (cursor + fwd))
                cursor += fwd
            elif fwd:
                self.out(b'\x1b[%dC' % fwd)
                cursor += fwd

    def friendly_repl(self):
        """Returns True for a soft reset, False when switching to the raw REPL."""
        self.out(self.identity.banner_block())
        while True:
            buf = bytearray()
            r = self.readline(buf, b'>>> ')
            if r == CTRL_A:
                self.out(b'\r\n')
                self.mode = 'raw'
                return False
            if r == CTRL_B:
                self.out(b'\r\n' + self.identity.banner_block())
                continue
            if r == CTRL_C:
                self.out(b'\r\n')
                continue
            if r == CTRL_D:
                self.out(b'\r\n')
                return True
            if r == CTRL_E:
                source = self.paste_mode()
                if source is None:
                    continue
                kind = 'exec'
            elif not buf:
                continue
            else:
                cancelled = False
                while continue_with_input(bytes(buf)):
                    buf += b'\n'
                    r = self.readline(buf, b'... ')
                    if r == CTRL_C:
                        self.out(b'\r\n')
                        cancelled = True
                        break
                    if r == CTRL_D:
                        break
                if cancelled:
                    continue
                source = bytes(buf)
                kind = 'single'
            if self.execute(source, kind):
                return True

    def paste_mode(self):
        self.out(b'\r\npaste mode; Ctrl-C to cancel, Ctrl-D to finish\r\n=== ')
        buf = bytearray()
        while True:
            data, stop = self.take_chunk(_PASTE_STOPS)
            buf += data
            self.out(data.replace(b'\r', b'\r\n=== '))
            if stop == CTRL_C:
                self.out(b'\r\n')
                return None
            if stop == CTRL_D:
                self.out(b'\r\n')
                return bytes(buf)

    def raw_repl(self):
        """Returns True for a soft reset, False when switching to the friendly REPL."""
        self.out(RAW_BANNER)
        while True:
            self.out(b'>')
            line = bytearray()
            while True:
                data, stop = self.take_chunk(_RAW_STOPS)
                line += data
                if stop == CTRL_A:
                    if len(line) == 2 and line[0] == CTRL_E:
                        if self.raw_paste(line[1]):
                            return True
                        line = bytearray()
                        self.out(b'>')
                        continue
                    line = bytearray()
                    self.out(RAW_BANNER + b'>')
                elif stop == CTRL_B:
                    self.out(b'\r\n')
                    self.mode = 'friendly'
                    return False
                elif stop == CTRL_C:
                    line = bytearray()
                elif stop == CTRL_D:
                    break
            self.out(b'OK')
            if not line:
                self.out(b'\r\n')
                return True
            if self.execute(bytes(line), 'exec', raw=True):
                return True

    def raw_paste(self, command):
        if command != ord('A'):
            self.out(b'R\x00')
            return False
        window = RAW_PASTE_WINDOW
        self.out(b'R\x01' + struct.pack('<H', window) + b'\x01')
        source = bytearray()
        used = 0
        while True:
            data, stop = self.take_chunk(_PASTE_STOPS)
            source += data
            used += len(data)
            if used >= window:
                self.out(b'\x01' * (used // window))
                used %= window
            if stop is not None:
                break
        self.out(b'\x04')
        if stop == CTRL_C:
            self.out(b'\x04' + self.text(self.format_exception(KeyboardInterrupt())) + b'\x04')
            return False
        return self.execute(bytes(source), 'exec', raw=True)
