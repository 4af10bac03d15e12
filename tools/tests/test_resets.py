"""Soft resets, machine.reset() in each reset mode, and DFU."""

import os
import time
import unittest

from .boardproc import Link, VirtualBoard

BANNER = b'Type "help()" for more information.\r\n>>> '
SCRIPTS = {'boot.py': b"print('boot ran')\nbooted = 1\n", 'main.py': b"print('main ran')\n"}


class SoftReset(unittest.TestCase):

    def test_soft_reset_runs_boot_and_main(self):
        cases = [
            # identity, keys, what the board answers
            ('pyboard', b'\x04', b'\r\nMPY: sync filesystems\r\nMPY: soft reboot\r\nboot ran\r\nmain ran\r\n'
             b'MicroPython v1.28.0 on 2026-11-21; PYBv1.1 with STM32F405RG\r\n' + BANNER),
            # the raw REPL runs boot.py again, but not main.py
            ('esp32', b'\x01\x04', b'\r\nraw REPL; CTRL-B to exit\r\n>OK\r\nMPY: soft reboot\r\nboot ran\r\n'
             b'raw REPL; CTRL-B to exit\r\n>'),
        ]
        for identity, keys, expected in cases:
            family = 'esp32' if identity == 'esp32' else 'stm32'
            with self.subTest(identity), VirtualBoard('--identity', identity, '--family', family,
                                                      files=SCRIPTS) as board:
                link = board.open()
                link.write(b'\x03')
                link.read_until(b'>>> ')
                link.write(b'x = 5\r')
                link.read_until(b'>>> ')
                link.write(keys)
                self.assertEqual(link.read_count(len(expected)), expected)
                if b'\x01' in keys:
                    link.write(b'\x02')
                    link.read_until(BANNER)
                link.write(b'booted, x\r')
                self.assertIn(b"NameError: name 'x' isn't defined", link.read_until(b'>>> '))


class HardReset(unittest.TestCase):

    def start(self, *args):
        board = VirtualBoard('--reset-delay', '300', *args, files=SCRIPTS)
        self.addCleanup(board.close)
        link = board.open()
        link.write(b'\x03')
        link.read_until(b'>>> ')
        return board, link

    def test_usb_port_vanishes_and_returns(self):
        board, link = self.start('--identity', 'pyboard')
        link.write(b'import machine; machine.reset(1)\r\n')
        self.assertEqual(link.drain(0.2), b'import machine; machine.reset(1)\r\n')
        self.assertTrue(board.wait_link(False))
        link.close()
        self.assertTrue(board.wait_link(True))
        link = board.link = Link(board.link_path)
        # The banner goes out as the port comes up: an opener that is quicker
        # than the board's boot sees all of it, a slower one none of it.
        link.write(b'booted\r')
        answer = b'booted\r\n1\r\n>>> '
        early = link.read_until(answer)[:-len(answer)]
        self.assertTrue(early == b'' or early.startswith(b'boot ran\r\nmain ran\r\n') and early.endswith(BANNER),
                        early)

    def test_uart_reset_prints_rom_log_and_banner(self):
        cases = [
            (('--family', 'esp32'), b'ets Jul 29 2019', b'Generic ESP32 module with ESP32'),
            (('--identity', 'pyboard', '--reset-mode', 'uart'), b'', b'PYBv1.1 with STM32F405RG'),
        ]
        for args, rom, machine in cases:
            with self.subTest(args=args):
                board, link = self.start(*args)
                link.write(b'import machine\r')
                link.read_until(b'>>> ')
                start = time.monotonic()
                link.write(b'machine.reset()\r')
                out = link.read_until(BANNER)
                self.assertGreater(time.monotonic() - start, 0.25)
                self.assertTrue(out.startswith(b'machine.reset()\r\n' + rom), out)
                self.assertTrue(out.endswith(b'boot ran\r\nmain ran\r\nMicroPython v1.28.0 on 2026-11-21; '
                                             + machine + b'\r\n' + BANNER), out)
                self.assertTrue(os.path.exists(board.link_path))

    def test_dfu_port_is_gone_for_good(self):
        board, link = self.start('--family', 'esp32')
        link.write(b'import machine; machine.dfu()\r')
        self.assertTrue(board.wait_link(False))
        self.assertFalse(board.wait_link(True, 0.6))
        self.assertIsNone(board.proc.poll())


if __name__ == '__main__':
    unittest.main()
