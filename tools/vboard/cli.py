"""Command line of the virtual board."""

import argparse
import random
import sys


def _call_and_count(text):
    call, sep, n = text.rpartition(':')
    if not sep or not call or not n.isdigit() or int(n) < 1:
        raise argparse.ArgumentTypeError('expected CALL:N with N >= 1, got %r' % text)
    return call.encode(), int(n)


def _geometry(text):
    size, sep, count = text.partition(':')
    if not sep or not size.isdigit() or not count.isdigit() or int(size) < 1 or int(count) < 1:
        raise argparse.ArgumentTypeError('expected SIZE:COUNT, got %r' % text)
    return int(size), int(count)


def parse(argv):
    p = argparse.ArgumentParser(prog='virtual_board.py',
                                description='A MicroPython board on a pseudo-terminal.')
    p.add_argument('--fs', required=True, help="host directory holding the board's files")
    p.add_argument('--link', required=True, help='symlink to create for the pty')
    p.add_argument('--family', choices=('stm32', 'esp32'), default='stm32')
    p.add_argument('--identity', choices=('pyboard', 'esp32', 'reference'))
    p.add_argument('--reset-mode', choices=('usb', 'uart', 'inplace'))
    p.add_argument('--reset-delay', type=int, default=1000, metavar='MS')
    p.add_argument('--no-md5', action='store_true')
    p.add_argument('--no-sizes', action='store_true')
    p.add_argument('--geometry', type=_geometry, metavar='SIZE:COUNT',
                   help="block size and block count of the board's file system")
    p.add_argument('--no-mpy', action='store_true',
                   help='sys.implementation has no _mpy, as on firmware that cannot import .mpy files')
    p.add_argument('--baud', type=int, default=0)
    p.add_argument('--delivery', choices=('usb', 'uart', 'bytes', 'random'), default='usb',
                   help='how output reaches the host: whole packets (usb), 1 ms of the line at a time '
                        '(uart, 115200 baud unless --baud), single bytes, or random pieces')
    p.add_argument('--seed', type=int, help='seed of the random delivery (printed when chosen here)')
    p.add_argument('--stock-reset', action='store_true',
                   help='machine.reset() refuses an argument, as on stock firmware')
    p.add_argument('--rx-buffer', type=int, metavar='N',
                   help='a UART without flow control: bytes that arrive while running code is not '
                        'reading are kept up to N, the rest are dropped (reported on stderr); '
                        'by default the board holds the sender back, as USB CDC does')
    p.add_argument('--drop-after', type=int, metavar='N')
    p.add_argument('--return-after', type=int, metavar='MS')
    p.add_argument('--return-link', metavar='PATH',
                   help='a port that vanishes comes back under this link, as a USB board '
                        'enumerated again under another device name')
    p.add_argument('--stall-after', type=int, metavar='N')
    p.add_argument('--stall-ms', type=int, default=3000, metavar='MS')
    p.add_argument('--noise-after', type=int, metavar='N')
    p.add_argument('--noise-bytes', type=int, default=16, metavar='K')
    p.add_argument('--mute-after', type=int, metavar='N')
    p.add_argument('--corrupt-rx', type=_call_and_count, metavar='CALL:N')
    p.add_argument('--corrupt-tx', type=_call_and_count, metavar='CALL:N')
    p.add_argument('--transcript', metavar='FILE')
    opts = p.parse_args(argv)
    if opts.delivery == 'random' and opts.seed is None:
        opts.seed = random.randrange(1 << 32)
        print('random delivery seed %d' % opts.seed, file=sys.stderr, flush=True)
    if opts.identity is None:
        opts.identity = 'pyboard' if opts.family == 'stm32' else 'esp32'
    if opts.reset_mode is None:
        opts.reset_mode = {'pyboard': 'usb', 'esp32': 'uart', 'reference': 'inplace'}[opts.identity]
    return opts
