"""Replays the recordings of real firmware against the virtual board, byte for byte."""

import ast
import glob
import os
import re
import time
import unittest

from .boardproc import VirtualBoard, to_raw

TRACES = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)),
                                       '..', '..', '..', 'shared', 'board-traces'))

# Files each case expects from the cases recorded before it.
FILES = {
    'h2-machine-reset': {'data.bin': b'x' * 1234, 'sub': None},
}


def parse(path):
    """(precondition, [(bytes written, bytes expected after it, pause in ms)])."""
    pre = ''
    steps = []
    with open(path) as f:
        for line in f:
            line = line.rstrip('\n')
            if line.startswith('# Precondition:'):
                pre = line
            elif line.startswith('>> '):
                steps.append([ast.literal_eval(line[3:]), b'', 0])
            elif line.startswith('<< '):
                steps[-1][1] += ast.literal_eval(line[3:])
            elif line.startswith('.. +') and steps:
                steps[-1][2] = int(line.split('+')[1].split()[0])
    return pre, steps


def normalise(data):
    # Only what differs between builds and runs: version, build date, file times.
    data = re.sub(rb'v\d+\.\d+\.\d+ on \d{4}-\d\d-\d\d', b'vX on DATE', data)
    data = re.sub(rb"release='[\d.]+'", b"release='X'", data)
    return re.sub(rb'\((32768|16384), 0, 0, 0, 0, 0, (\d+), (\d+), \3, \3\)', rb'(\1, 0, 0, 0, 0, 0, \2, T, T, T)',
                  data)


class TraceReplay(unittest.TestCase):

    def replay(self, path):
        name = os.path.basename(path)[:-4]
        pre, steps = parse(path)
        args = ['--identity', 'reference']
        if 'littlefs2' in pre:
            args += ['--family', 'esp32']
        if name.startswith('i'):
            args += ['--geometry', '1024:2028']  # the i series' board, a later build, formats 1 KiB clusters
        with VirtualBoard(*args, files=FILES.get(name)) as board:
            link = board.open()
            if 'raw REPL' in pre:
                to_raw(link)
            else:
                link.write(b'\x03')
                link.read_until(b'>>> ')
            expected = received = b''
            for data, reply, pause in steps:
                link.write(data)
                expected += reply
                if reply:
                    # Compare lengths after normalising: file times may have fewer digits.
                    deadline = time.monotonic() + 5
                    while len(normalise(received + link.buf)) < len(normalise(expected)):
                        if not link.fill(deadline):
                            break
                    received += link.drain(0)
                # Ctrl-C and queued bytes depend on what runs at the moment,
                # so keep the recorder's pauses, shortened.
                time.sleep(min(pause, 60) / 1000.0)
            received += link.drain(0.2)
            self.assertEqual(normalise(received), normalise(expected),
                             'stream of %s differs' % name)

    def test_every_trace(self):
        paths = sorted(glob.glob(os.path.join(TRACES, '*.txt')))
        if not paths:
            self.skipTest('no board traces at %s' % TRACES)
        for path in paths:
            with self.subTest(os.path.basename(path)):
                self.replay(path)


if __name__ == '__main__':
    unittest.main()
