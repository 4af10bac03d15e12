"""The command-line contract, the transcript, line speed and injected faults."""

import os
import signal
import string
import subprocess
import sys
import tempfile
import time
import unittest

from .boardproc import SIMULATOR, Link, VirtualBoard, raw_run, to_raw


def prompt(link):
    link.write(b'\x03')
    link.read_until(b'>>> ')


class CommandLine(unittest.TestCase):

    def test_announces_link_and_cleans_up(self):
        tmp = tempfile.mkdtemp(prefix='vboard-cli-')
        link = os.path.join(tmp, 'ttyX')
        os.symlink('/nonexistent', link)  # stale, from a crashed run
        proc = subprocess.Popen([sys.executable, SIMULATOR, '--fs', os.path.join(tmp, 'fs'), '--link', link],
                                stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        try:
            self.assertEqual(proc.stdout.readline(), (link + '\n').encode())
            self.assertTrue(os.readlink(link).startswith('/dev/pts/'))
            self.assertTrue(os.path.isdir(os.path.join(tmp, 'fs')))
            host = Link(link)
            prompt(host)
            host.close()
        finally:
            proc.send_signal(signal.SIGTERM)
            out, _ = proc.communicate(timeout=5)
        self.assertEqual(proc.returncode, 0)
        self.assertEqual(out, b'')  # nothing but the path on stdout
        self.assertFalse(os.path.lexists(link))

    def test_baud_rate_paces_both_directions(self):
        size = 4800
        with VirtualBoard('--baud', '38400') as board:
            link = board.open()
            to_raw(link)
            link.write(b'import sys\nd = sys.stdin.buffer.read(%d)\nprint(len(d))\x04' % size)
            link.read_until(b'OK')
            start = time.monotonic()
            link.write(b'u' * size)
            link.read_until(b'%d\r\n' % size, timeout=10)
            inbound = time.monotonic() - start
            link.read_until(b'\x04\x04>')
            link.write(b"import sys\nsys.stdout.write('v' * %d)\x04" % size)
            link.read_until(b'OK')
            start = time.monotonic()
            link.read_until(b'\x04\x04>', timeout=10)
            outbound = time.monotonic() - start
        expected = size * 10 / 38400.0  # 1.25 s
        for name, took in (('in', inbound), ('out', outbound)):
            with self.subTest(name):
                self.assertGreater(took, expected * 0.8)
                # Loose above: a loaded 2-core machine stretches the reads, but not a stall.
                self.assertLess(took, expected * 3)


class Delivery(unittest.TestCase):
    """The same bytes in every delivery mode; only how the host's reads see them differs."""

    def reads_of_output(self, *args):
        size = 2000
        with VirtualBoard(*args) as board:
            link = board.open()
            to_raw(link)
            link.write(b"import sys\nsys.stdout.write('w' * %d)\x04" % size)
            pieces = []
            data = b''
            start = time.monotonic()
            while not data.endswith(b'\x04\x04>'):
                self.assertTrue(link.fill(time.monotonic() + 5), data[-100:])
                pieces.append(len(link.buf))
                data += link.buf
                link.buf = b''
            took = time.monotonic() - start
            self.assertEqual(data, b'OK' + b'w' * size + b'\x04\x04>')
            return pieces, took, board.errors()

    def test_modes(self):
        usb, _, _ = self.reads_of_output()
        self.assertLessEqual(len(usb), 3)
        # uart keeps 115200 of its own; the others are paced by --baud
        for mode, args in (('uart', ()), ('bytes', ('--baud', '115200')), ('random', ('--baud', '115200'))):
            with self.subTest(mode=mode):
                pieces, took, errors = self.reads_of_output('--delivery', mode, *args)
                # Many reads rather than usb's few; a loaded host gathers pieces, so not exact.
                self.assertGreater(len(pieces), 6)
                self.assertGreater(took, 2000 * 10 / 115200.0 * 0.8)  # at the line rate
                self.assertEqual('random delivery seed' in errors, mode == 'random')


class StockFirmware(unittest.TestCase):

    def test_machine_reset_refuses_an_argument(self):
        with VirtualBoard('--stock-reset', '--reset-mode', 'inplace') as board:
            link = board.open()
            prompt(link)
            link.write(b'import machine; machine.reset(1)\r\n')
            self.assertEqual(link.read_until(b'>>> '),
                             b'import machine; machine.reset(1)\r\nTraceback (most recent call last):\r\n'
                             b'  File "<stdin>", line 1, in <module>\r\n'
                             b'TypeError: function takes 0 positional arguments but 1 were given\r\n>>> ')
            link.write(b'import machine; machine.reset()\r\n')
            self.assertIn(b'Type "help()" for more information.', link.read_until(b'>>> '))


class Faults(unittest.TestCase):

    def test_noise_after(self):
        with VirtualBoard('--noise-after', '3', '--noise-bytes', '40') as board:
            link = board.open()
            prompt(link)
            link.write(b'1+1\r')
            out = link.read_until(b'2\r\n>>> ')
            noise = out.replace(b'1+1\r\n2\r\n>>> ', b'', 1)
            self.assertEqual(len(noise), 40, out)
            self.assertTrue(all(chr(c) in string.printable and c not in b'>\n\r\t\x0b\x0c' for c in noise), noise)
            link.write(b'2+2\r')  # once only
            self.assertEqual(link.read_until(b'>>> '), b'2+2\r\n4\r\n>>> ')

    def test_stall_after(self):
        with VirtualBoard('--stall-after', '3', '--stall-ms', '600') as board:
            link = board.open()
            prompt(link)
            start = time.monotonic()
            link.write(b'1+1\r')
            self.assertEqual(link.read_until(b'>>> '), b'1+1\r\n2\r\n>>> ')
            self.assertGreater(time.monotonic() - start, 0.5)

    def test_drop_after_and_return(self):
        for extra in ([], ['--return-after', '300']):
            with self.subTest(extra=extra), VirtualBoard('--drop-after', '3', *extra) as board:
                link = board.open()
                prompt(link)
                link.write(b'x = 1\r')
                link.drain(0.2)
                self.assertTrue(board.wait_link(False))
                self.assertEqual(board.wait_link(True, 0.6 if not extra else 5), bool(extra))
                self.assertIsNone(board.proc.poll())
                if extra:
                    link = board.link = Link(board.link_path)
                    # The board boots again, and its banner brings a prompt of its own: wait for the answer to this line.
                    link.write(b"\x03'back'\r")
                    link.read_until(b"'back'\r\n>>> ")
                    link.write(b'1+1\r')
                    self.assertEqual(link.read_until(b'>>> '), b'1+1\r\n2\r\n>>> ')

    def test_corruption_hits_one_byte_of_the_first_matching_call(self):
        code = b'import sys\ndef _up(n):\n    d = sys.stdin.buffer.read(n)\n    sys.stdout.write(d.decode())\n'
        cases = [
            # option, data sent, what comes back on each of two calls
            ('--corrupt-rx', b'aZ9+/', b'aZ0+/'),
            ('--corrupt-tx', b'aZ9+/', b'aZ0+/'),
            ('--corrupt-rx', b'ab/cd', b'ab+cd'),
        ]
        for option, data, corrupted in cases:
            nth = [a == b for a, b in zip(data, corrupted)].index(False) + 1
            with self.subTest(option=option, data=data), VirtualBoard(option, '_up:%d' % nth) as board:
                link = board.open()
                to_raw(link)
                self.assertEqual(raw_run(link, code), (b'', b''))
                for expected in (corrupted, data):
                    link.write(b'_up(%d)\x04' % len(data) + data)
                    self.assertEqual(link.read_until(b'\x04>'), b'OK' + expected + b'\x04\x04>')


class ReceiveBuffer(unittest.TestCase):
    """--rx-buffer: a UART without flow control keeps only N bytes while running code does not read."""

    def test_only_a_reading_program_takes_more_than_the_buffer(self):
        code = (b"import sys, time\nprint('go')\ntime.sleep_ms(%d)\nd = sys.stdin.buffer.read(%d)\n"
                b"print('more')\nprint(d[-1:], sys.stdin.buffer.read(4))\x04")
        cases = [
            # sent while the program sleeps: 32 are kept, the rest is gone
            ('not reading', 300, 32, b'x' * 31 + b'y' + b'z' * 68, 68),
            # sent while the program waits in its read: all of it arrives
            ('reading', 0, 100, b'x' * 99 + b'y', 0),
        ]
        for name, sleep, want, data, dropped in cases:
            with self.subTest(name), VirtualBoard('--rx-buffer', '32') as board:
                link = board.open()
                to_raw(link)
                link.write(code % (sleep, want))
                link.read_until(b'go\r\n')
                link.write(data)
                link.read_until(b'more\r\n')
                link.write(b'wwww')
                self.assertEqual(link.read_until(b'\x04>'), b"b'y' b'wwww'\r\n\x04\x04>")
                self.assertEqual('receive buffer full: %d bytes dropped' % dropped in board.errors(), bool(dropped),
                                 board.errors())
                self.assertEqual('dropped' in board.errors(), bool(dropped))

    def test_the_repl_reads_a_long_command_whole(self):
        with VirtualBoard('--rx-buffer', '16', '--baud', '115200') as board:
            link = board.open()
            to_raw(link)
            self.assertEqual(raw_run(link, b'print(1)' + b' ' * 900), (b'1\r\n', b''))
            self.assertNotIn('dropped', board.errors())

if __name__ == '__main__':
    unittest.main()
