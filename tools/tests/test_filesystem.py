"""The board's file system beyond the recorded listings: confinement to its directory, errors of os."""

import os
import tempfile
import unittest

from .boardproc import SharedBoard


class Stm32Files(SharedBoard, unittest.TestCase):
    board_files = {'data.bin': b'x' * 1234, 'sub': None, 'full/a.txt': b'a', 'empty': None}

    def test_paths_stay_inside(self):
        outside = tempfile.mkdtemp(prefix='vboard-outside-')
        os.symlink(outside, self.board.host('escape'))
        os.symlink(os.path.join(outside, 'f'), self.board.host('flink'))
        with open(os.path.join(outside, 'secret'), 'w') as f:
            f.write('x')
        cases = [
            ("open('/flash/../../x', 'w')", 'OSError: [Errno 2] ENOENT'),
            ("open('../../../x', 'w')", 'OSError: [Errno 2] ENOENT'),
            ("open('/x', 'w')", 'OSError: [Errno 2] ENOENT'),
            ("import os; os.mkdir('/etc')", 'OSError: [Errno 2] ENOENT'),
            ("open('escape/secret')", 'OSError: [Errno 2] ENOENT'),
            ("open('escape/new', 'w')", 'OSError: [Errno 2] ENOENT'),
            ("open('flink', 'w')", 'OSError: [Errno 2] ENOENT'),
            ("import os; os.listdir('escape')", 'OSError: [Errno 2] ENOENT'),
            ("import os; os.remove('/flash')", 'OSError: [Errno 1] EPERM'),
            ("import os; os.rename('data.bin', '/data.bin')", 'OSError: [Errno 2] ENOENT'),
        ]
        for code, expected in cases:
            with self.subTest(code):
                self.assertEqual(self.error(code), expected)
        self.assertEqual(sorted(os.listdir(outside)), ['secret'])
        self.assertNotIn('escape', self.value("os.listdir()"))
        # '..' above the root stays at the root
        self.assertEqual(self.value("os.listdir('/flash/../../..')"), "['flash']")

    def test_errors_of_fat(self):
        cases = [
            ("os.rmdir('full')", 'OSError: [Errno 13] EACCES'),
            ("os.remove('sub')", 'OSError: [Errno 21] EISDIR'),
            ("os.rmdir('data.bin')", 'OSError: 20'),
            ("os.mkdir('sub')", 'OSError: [Errno 17] EEXIST'),
            ("os.mkdir('no/such')", 'OSError: [Errno 2] ENOENT'),
            ("open('sub')", 'OSError: [Errno 2] ENOENT'),
        ]
        for code, expected in cases:
            with self.subTest(code):
                self.assertEqual(self.error('import os\n' + code), expected)
        out, _ = self.run_code("import os\ntry:\n    os.stat('nope')\nexcept OSError as e:\n"
                               "    print(e.args[0], e.errno, str(e))")
        self.assertEqual(out, b'2 2 [Errno 2] ENOENT\r\n')

    def test_files_round_trip(self):
        code = ("f = open('t.txt', 'w')\nf.write('h\\xe9\\nx')\nf.close()\n"
                "with open('t.txt', 'a') as f:\n    f.write('y')\n"
                "b = bytearray(3)\nwith open('t.txt', 'rb') as f:\n    n = f.readinto(b)\n"
                "print(n, repr(bytes(b)), repr(open('t.txt').read()))\n"
                "import os\nos.rename('t.txt', 'u.txt')\nprint(os.listdir().count('u.txt'))\nos.remove('u.txt')")
        out, err = self.run_code(code)
        self.assertEqual(err, b'')
        self.assertEqual(out, b"3 b'h\\xc3\\xa9' 'h\\xe9\\nxy'\r\n1\r\n")
        with open(self.board.host('data.bin'), 'rb') as f:
            self.assertEqual(f.read(), b'x' * 1234)


class Esp32Files(SharedBoard, unittest.TestCase):
    board_args = ('--family', 'esp32', '--no-sizes')
    board_files = {'lib/m.py': b'X = 5\n', 'full/a.txt': b'a', 'empty': None, 'gone': None}

    def test_root_is_the_directory(self):
        cases = [
            ("[n for n in os.listdir('/') if n != 'gone']", "['empty', 'full', 'lib']"),
            ("list(os.ilistdir('/lib'))", "[('m.py', 32768, 0)]"),
            ("__import__('m').X", '5'),
        ]
        for expr, expected in cases:
            with self.subTest(expr):
                self.assertEqual(self.value(expr), expected)

    def test_errors_of_littlefs(self):
        cases = [
            ("open('../../etc/passwd')", 'OSError: [Errno 2] ENOENT'),
            ("import os; os.rmdir('full')", 'OSError: 39'),
            ("open('/empty')", 'OSError: [Errno 21] EISDIR'),
            ("import pyb", "ImportError: no module named 'pyb'"),
        ]
        for code, expected in cases:
            with self.subTest(code):
                self.assertEqual(self.error(code), expected)
        # littlefs removes an empty directory with either call
        self.assertEqual(self.run_code("import os; os.remove('gone')"), (b'', b''))
        self.assertFalse(os.path.exists(self.board.host('gone')))


if __name__ == '__main__':
    unittest.main()
