"""Runs the board-side scripts of resources/data on the virtual board.

The client below talks to the board the way the desktop does: it loads a
script through the raw REPL, cuts the board's output at every ">" and plays
each script's protocol byte for byte.
"""

import base64
import contextlib
import os
import random
import unittest

from .boardproc import VirtualBoard

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), '..', '..'))
SCRIPTS = os.path.join(ROOT, 'resources', 'data')
RAW_BANNER = b'raw REPL; CTRL-B to exit\r\n>'
PROMPT = b'>>> '


def rand_bytes(n, seed):
    return random.Random(seed).randbytes(n)


class BoardCase:
    """One simulator per family and option set, shared by the tests of a class."""

    family = 'stm32'
    options = ()

    @classmethod
    def setUpClass(cls):
        cls.vboard = VirtualBoard('--family', cls.family, *cls.options)
        cls.link = cls.vboard.open()
        cls.root = '/flash/' if cls.family == 'stm32' else '/'

    @classmethod
    def tearDownClass(cls):
        cls.vboard.close()

    def setUp(self):
        self.resync()

    def record(self):
        # The desktop's raw REPL rule: each '>' ends a record, empty ones vanish.
        while True:
            rec = self.link.read_until(b'>')[:-1]
            if rec:
                return rec

    def resync(self):
        """Whatever the board was doing, leave it idle in the raw REPL."""
        self.link.write(b'\x03')  # ends a script still blocked in a read
        self.link.drain()
        self.link.write(b'\x02\x03')
        self.link.read_until(b'\r\n' + PROMPT)
        self.link.drain(0.05)
        self.link.write(b'\x01')
        self.link.read_until(RAW_BANNER)

    @contextlib.contextmanager
    def case(self, *args, **params):
        """A subtest that leaves the board idle in the raw REPL if it fails."""
        with self.subTest(*args, **params):
            try:
                yield
            except BaseException:
                self.resync()
                raise

    def script(self, name):
        if self.family == 'esp32' and os.path.exists(os.path.join(SCRIPTS, name + '_e.py')):
            name += '_e'
        with open(os.path.join(SCRIPTS, name + '.py'), 'rb') as f:
            return f.read()

    def load(self, name):
        self.link.write(self.script(name) + b'\x04')
        # stricter than the desktop: defining the function must print nothing
        rec = self.record()
        if rec != b'OK\x04\x04':
            # a traceback holds '>' of its own: show all of it
            self.fail('%s: %r' % (name, rec + b'>' + self.link.read_until(b'\x04>')))

    def board(self, rel):
        return self.root + rel

    def put(self, rel, data):
        with open(self.vboard.host(rel), 'wb') as f:
            f.write(data)


class ScriptTests(BoardCase):

    def start_upload(self, rel, size_packet, chunk):
        self.load('upload')
        self.link.write(b"_upload('%s', %d)\x04" % (self.board(rel).encode(), chunk))
        self.link.write(size_packet)
        return self.record()

    def test_upload_failures_report_their_code(self):
        data = rand_bytes(3000, 7)
        text = base64.b64encode(data)
        good_sum = sum(text) & 0xFFFFFFFF

        def size_packet(packet):
            def run():
                rec = self.start_upload('bad.bin', packet, 512)
                self.assertTrue(rec.startswith(b'OK'), rec)
                return rec[2:]
            return run

        def missing_dir():
            self.assertEqual(self.start_upload('nodir/x.bin', b'!%010d' % len(text), 512), b'OK#9')
            return self.record()

        def finish_with(packet):
            def run():
                self.assertEqual(self.start_upload('bad.bin', b'!%010d' % len(text), 1024), b'OK#9')
                for offset in range(0, len(text), 1024):
                    self.link.write(text[offset:offset + 1024])
                    self.assertEqual(self.record(), b'#9')
                self.link.write(packet)
                return self.record()
            return run

        def unaligned_chunk():
            # 1000 never meets the 1024 flush, so the second packet overruns the buffer
            self.assertEqual(self.start_upload('bad.bin', b'!%010d' % len(text), 1000), b'OK#9')
            self.link.write(text[:1000])
            self.assertEqual(self.record(), b'#9')
            self.link.write(text[1000:2000])
            return self.record()

        cases = [
            ('size packet without "!"', size_packet(b'?0000004000'),
             b"#1Inv size packet b'?0000004000'\x04\x04"),
            # a '>' in the text would cut the result short on the desktop
            ('size packet holding ">"', size_packet(b'>>00004000>'),
             b"#1Inv size packet b'\\x3e\\x3e00004000\\x3e'\x04\x04"),
            ('target in a missing directory', missing_dir, b'#8[Errno 2] ENOENT\x04\x04'),
            ('checksum packet without "@"', finish_with(b'X%010d' % good_sum), b'#3Inv size csum\x04\x04'),
            ('checksum differs', finish_with(b'@%010d' % (good_sum + 1)),
             b'#4Inv csum %d\x04\x04' % good_sum),
            ('chunk size off the flush point', unaligned_chunk, b'#2Inv data packet\x04\x04'),
        ]
        for name, run, expected in cases:
            with self.subTest(name):
                try:
                    self.assertEqual(run(), expected)
                finally:
                    self.resync()  # a failed upload may leave data queued as a command

    def batch_file(self, rel, data, chunk, checksum=None):
        """Sends one file of a running batch; returns the first record other than "#9"."""
        text = base64.b64encode(data)
        name = base64.b64encode(self.board(rel).encode())
        self.link.write(b'!%010d%04d' % (len(text), len(name)) + name)
        rec = self.record()
        for offset in range(0, len(text), chunk):
            if rec != b'#9':
                return rec
            self.link.write(text[offset:offset + chunk])
            rec = self.record()
        if rec != b'#9':
            return rec
        self.link.write(checksum or b'@%010d' % (sum(text) & 0xFFFFFFFF))
        return self.record()

    def test_batch_reports_each_file_and_stays_in_step(self):
        data = rand_bytes(3000, 9)
        good_sum = sum(base64.b64encode(data)) & 0xFFFFFFFF
        # each failure is reported in the single upload's codes, and the next file goes through
        cases = [
            (1024, 'empty file', 'b0.bin', b'', None, b'#0'),
            (1024, 'target in a missing directory', 'nodir/x.bin', data, None, b'#8[Errno 2] ENOENT'),
            (1024, 'checksum differs', 'b1.bin', data, b'@%010d' % (good_sum + 1), b'#4Inv csum %d' % good_sum),
            (1024, 'checksum packet without "@"', 'b2.bin', data, b'X%010d' % good_sum, b'#3Inv size csum'),
            (1024, 'name with a quote and ">"', "it's>.bin", data, None, b'#0'),
            # 1000 never meets the 1024 flush, so the second packet overruns the buffer
            (1000, 'chunk size off the flush point', 'b3.bin', data, None, b'#2Inv data packet'),
        ]
        for batch_chunk in (1024, 1000):
            self.load('batch')
            self.link.write(b'_batch(%d)\x04' % batch_chunk)
            self.assertEqual(self.record(), b'OK#9')
            for chunk, name, rel, content, checksum, expected in cases:
                if chunk != batch_chunk:
                    continue
                with self.subTest(name):
                    self.assertEqual(self.batch_file(rel, content, chunk, checksum), expected)
                    self.assertEqual(self.batch_file('after.bin', data[:700], chunk), b'#0')
            # anything but a header ends the batch at the raw REPL's prompt
            self.link.write(b'.' + b'0' * 14)
            self.assertEqual(self.record(), b'\x04\x04')
        self.link.write(b"print('ready')\x04")
        self.assertEqual(self.record(), b'OKready\r\n\x04\x04')
        for rel, content in (("it's>.bin", data), ('b0.bin', b''), ('after.bin', data[:700])):
            with open(self.vboard.host(rel), 'rb') as f:
                self.assertEqual(f.read(), content)

    def download(self, rel, ack=b'^^'):
        """Plays the desktop's side; returns (blocks, closing record)."""
        self.load('download')
        self.link.write(b"_download('%s')\x04" % self.board(rel).encode())
        self.assertEqual(self.record(), b'OK')
        blocks = []
        while True:
            rec = self.record()
            if not rec.endswith(b'#8'):
                break
            blocks.append(base64.b64decode(rec[:-2], validate=True))
            self.link.write(ack)
        self.assertEqual(self.record(), b'\x04\x04')
        self.link.write(b'\x01')
        self.link.read_until(RAW_BANNER)
        return blocks, rec

    def test_download_failures_end_with_6(self):
        self.put('nak.bin', rand_bytes(600, 3))
        cases = [
            ('missing file', 'nope.bin', b'^^', 0, b'[Errno 2] ENOENT#6'),
            ('acknowledge other than ^^', 'nak.bin', b'^x', 1, b'nak#6'),
        ]
        for name, rel, ack, nblocks, expected in cases:
            with self.case(name):
                blocks, end = self.download(rel, ack)
                self.assertEqual((len(blocks), end), (nblocks, expected))


class Stm32(ScriptTests, unittest.TestCase):
    family = 'stm32'


class Esp32(ScriptTests, unittest.TestCase):
    family = 'esp32'


if __name__ == '__main__':
    unittest.main()
