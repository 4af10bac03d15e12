"""REPL input rules and runtime behaviour beyond the recorded traces."""

import unittest

from vboard.completion import columns
from vboard.repl import continue_with_input

from .boardproc import SharedBoard, VirtualBoard, raw_run, to_raw


def type_at_prompt(test, cases):
    """Types each row's keys at a fresh board's friendly prompt and checks the reply."""
    with VirtualBoard() as board:
        link = board.open()
        link.write(b'\x03')
        link.read_until(b'>>> ')
        for keys, reply in cases:
            with test.subTest(keys=keys):
                link.write(keys)
                test.assertEqual(link.read_count(len(reply)), reply)


class ContinueWithInput(unittest.TestCase):

    def test_cases(self):
        cases = [
            (b'', False),
            (b'x = 1', False),
            (b'if x:', True),
            (b'while True: pass', True),       # compound keyword: one more line
            (b'while True: pass\n', False),     # ... until an empty one
            (b'iffy = 1', False),               # a keyword only as a whole word
            (b'for(i)in x:', True),
            (b'@dec', True),
            (b'async def f():', True),
            (b'f(1,', True),
            (b'f(1)]', False),
            (b'd = {', True),
            (b"s = '''abc", True),
            (b's = """a""" + """', True),
            (b"s = '(' ", False),               # brackets in quotes do not count
            (b"s = 'it\\'s' + (", True),
            (b'x = 1 + \\', True),
            (b"s = '''a\n'''", False),
        ]
        for text, expected in cases:
            with self.subTest(text=text):
                self.assertEqual(continue_with_input(text), expected)


class Friendly(unittest.TestCase):

    def test_keys_and_interrupts(self):
        cases = [
            # keys, reply up to the prompt
            (b'abc\x1b[D\x1b[DX\x1b[C\x1b[CY\r', b"abc\x08\x08Xbc\x08\x08\x1b[1C\x1b[1CY\r\n"
             b"Traceback (most recent call last):\r\n  File \"<stdin>\", line 1, in <module>\r\n"
             b"NameError: name 'aXbcY' isn't defined\r\n>>> "),
            (b'\x1b[A\x03', b'aXbcY\r\n>>> '),  # history, then Ctrl-C drops the line
            (b'x = input("? ")\r', b'x = input("? ")\r\n? '),
            (b'hi\x7f\x7fok\r', b'hi\x08\x1b[K\x08\x1b[Kok\r\n>>> '),
            (b'x\r', b"x\r\n'ok'\r\n>>> "),
            # the print tells that the command runs, so the Ctrl-C finds it running
            (b'import time; print(1); time.sleep(30)\r', b'import time; print(1); time.sleep(30)\r\n1\r\n'),
            (b'\x03', b'Traceback (most recent call last):\r\n  File "<stdin>", line 1, in <module>\r\n'
             b'KeyboardInterrupt: \r\n>>> '),
            (b'print("a\\r\\nb")\r', b'print("a\\r\\nb")\r\na\r\r\nb\r\n>>> '),
            # input() reads through the same line editor: UTF-8 is lost there too
            (b'y = input()\rh\xc3\xa9 w\xf0\x9f\x99\x82!\ry\r', b"y = input()\r\nh w!\r\n>>> y\r\n'h w!'\r\n>>> "),
        ]
        type_at_prompt(self, cases)


class Completion(unittest.TestCase):

    def test_column_layout(self):
        cases = [
            (['a'], b'\r\na\r\n'),
            (['a', 'b', 'c', 'd', 'e'], b'\r\na' + b' ' * 15 + b'b' + b' ' * 15 + b'c' + b' ' * 15 + b'd\r\ne\r\n'),
            # a name of 15 leaves too small a gap: the next one moves a slot on
            (['x' * 15, 'y'], b'\r\n' + b'x' * 15 + b' ' * 17 + b'y\r\n'),
            (['x' * 40, 'y' * 30], b'\r\n' + b'x' * 40 + b'\r\n' + b'y' * 30 + b'\r\n'),
        ]
        for names, text in cases:
            with self.subTest(names=names):
                self.assertEqual(columns(names), text)

    def test_tab_at_the_prompt(self):
        cases = [
            # keys, reply up to the end of what Tab printed
            (b'abc_one = 1\r', b'abc_one = 1\r\n>>> '),
            (b'abc_o\t', b'abc_one'),                       # a global of this session
            (b'\r', b'\r\n1\r\n>>> '),
            (b'abc_two = 2\rabc_\t', b'abc_two = 2\r\n>>> abc_\r\nabc_one         abc_two\r\n>>> abc_'),
            (b'\x03zq\t\r', b"\r\n>>> zq\r\nTraceback (most recent call last):\r\n"
             b"  File \"<stdin>\", line 1, in <module>\r\nNameError: name 'zq' isn't defined\r\n>>> "),
            (b'import ti\t\r', b'import time\r\n>>> '),
            (b'time.ticks_d\t\x03', b'time.ticks_diff\r\n>>> '),
            (b'time._\t\x03', b'time.__\r\n>>> '),        # "_" names only for a "_" prefix
            (b'time.sleep_\t\x03', b'time.sleep_\r\nsleep_ms        sleep_us\r\n>>> time.sleep_\r\n>>> '),
            (b'time.nothing.x\t\x03', b'time.nothing.x\r\n>>> '),
            # in the middle of a line: the rest of the line is drawn again
            (b'print(time.tic)\x1b[D\t\x03', b'print(time.tic)\x08ks_)\x08\r\n>>> '),
            # only spaces before the cursor: an indent
            (b'\t  \t\x03', b'          \r\n>>> '),
            (b'if abc_one:\rabc_\t', b'if abc_one:\r\n...     abc_\r\nabc_one         abc_two\r\n...     abc_'),
            (b'\x03', b'\r\n>>> '),
            (b'x = input("? ")\rabc_t\t\r', b'x = input("? ")\r\n? abc_two\r\n>>> '),
        ]
        type_at_prompt(self, cases)


class Runtime(SharedBoard, unittest.TestCase):
    board_args = ('--no-md5',)

    def test_values(self):
        cases = [
            ("__import__('json').dumps([{'n': 'a', 's': 1}, '\\xe9\\n', None, True])",
             repr('[{"n": "a", "s": 1}, "\xe9\\n", null, true]').replace('\xe9', '\\xe9')),
            ("__import__('json').loads('{\"a\": [1, 2]}')", "{'a': [1, 2]}"),
            ("dir(__import__('uhashlib'))", "['__class__', '__name__', '__dict__', 'sha1', 'sha256']"),
            ("__import__('ubinascii').hexlify(__import__('hashlib').sha1(b'abc').digest())",
             "b'a9993e364706816aba3e25717850c26c9cd0d89d'"),
            ("__import__('binascii').a2b_base64(b'aGk=')", "b'hi'"),
            ("(sys.implementation._machine, sys.platform)", "('PYBv1.1 with STM32F405RG', 'pyboard')"),
            ("(sys.implementation._mpy & 0xff, sys.path)", "(6, ['', '/flash', '/flash/lib'])"),
            ("os.uname().sysname", "'pyboard'"),
            ("__import__('time').ticks_diff(5, (1 << 30) - 5)", '10'),
            ("__import__('pyb').FlashWriter().__enter__() is not None", 'True'),
            ("[__import__(m).__name__ for m in ('uos', 'utime', 'ujson', 'uerrno')]",
             "['os', 'time', 'json', 'errno']"),
        ]
        for expr, expected in cases:
            with self.subTest(expr):
                self.assertEqual(self.value(expr), expected)

    def test_errors(self):
        cases = [
            ('from hashlib import md5', "ImportError: can't import name md5"),
            ('import socket', "ImportError: no module named 'socket'"),
            ("__import__('binascii').a2b_base64(b'aGk')", 'ValueError: incorrect padding'),
            ('1 + None', "TypeError: unsupported types for __add__: 'int', 'NoneType'"),
            ('def f():\n    return g\nf()', "NameError: name 'g' isn't defined"),
            ('raise OSError(2)', 'OSError: [Errno 2] ENOENT'),
            ('if 1:\nx', 'SyntaxError: invalid syntax'),
            ('  x = 1', 'IndentationError: unexpected indent'),
        ]
        for code, expected in cases:
            with self.subTest(code):
                self.assertEqual(self.error(code), expected)

    def test_stdin_text_reads(self):
        cases = [
            ('sys.stdin.readline()', b'ab\rc', "'ab\\n'", b'c'),
            ('sys.stdin.read(3)', b'\xc3\xa9xy', "'\\xe9xy'", b''),
            ('sys.stdin.buffer.read(2)', b'\x03\x04', "b'\\x03\\x04'", b''),
        ]
        for expr, data, expected, rest in cases:
            with self.subTest(expr):
                self.link.write(b'import sys, micropython\nmicropython.kbd_intr(-1)\n'
                                b'print(repr(%s))\nmicropython.kbd_intr(3)\x04' % expr.encode() + data)
                self.assertEqual(self.link.read_until(b'\x04>'), b'OK' + expected.encode() + b'\r\n\x04\x04>')
                if rest:
                    self.link.write(b'\x03')  # what the read left over starts the next command

    def test_select_poll_sees_stdin(self):
        self.link.write(b'import select, sys\np = select.poll()\np.register(sys.stdin, select.POLLIN)\n'
                        b'print(len(p.poll(0)))\nprint(len(p.poll(2000)), sys.stdin.buffer.read(1))\x04')
        self.assertEqual(self.link.read_until(b'0\r\n'), b'OK0\r\n')
        self.link.write(b'z')
        self.assertEqual(self.link.read_until(b'\x04>'), b"1 b'z'\r\n\x04\x04>")


class Options(unittest.TestCase):

    def test_board_without_mpy(self):
        with VirtualBoard('--no-mpy', '--family', 'esp32') as board:
            link = board.open()
            to_raw(link)
            self.assertEqual(raw_run(link, "import sys\nprint(sys.implementation)\n"
                                           "print(hasattr(sys.implementation, '_mpy'), sys.path)"),
                             (b"(name='micropython', version=(1, 28, 0, ''), _machine='Generic ESP32 module with ESP32', "
                              b"_build='ESP32_GENERIC')\r\nFalse ['', '.frozen', '/lib']\r\n", b''))


class RawPaste(unittest.TestCase):

    def test_ctrl_c_ends_raw_paste_with_keyboard_interrupt(self):
        with VirtualBoard() as board:
            link = board.open()
            to_raw(link)
            link.write(b'\x05A\x01')
            self.assertEqual(link.read_count(5), b'R\x01\x80\x00\x01')
            link.write(b'print(1)\x03')
            self.assertEqual(link.read_until(b'>'), b'\x04\x04KeyboardInterrupt: \r\n\x04>')
            self.assertEqual(raw_run(link, 'print(2)'), (b'2\r\n', b''))


if __name__ == '__main__':
    unittest.main()
