"""Who the board says it is: banner, uname, sys.implementation."""

VERSION = (1, 28, 0)
BUILD_DATE = '2026-11-21'

# name: (board, mcu, sysname, platform, _build, _mpy, cpu freq, unique id)
_TABLE = {
    'reference': ('mps2-an385', 'Cortex-M3', 'qemu', 'qemu', 'REFBOARD', 6918,
                  25000000, bytes.fromhex('0d0e0a0d0b0e0e0f00000001')),
    'pyboard': ('PYBv1.1', 'STM32F405RG', 'pyboard', 'pyboard', 'PYBV11', 7942,
                168000000, bytes.fromhex('3a0037000d51333533383932')),
    'esp32': ('Generic ESP32 module', 'ESP32', 'esp32', 'esp32', 'ESP32_GENERIC', 11014,
              160000000, bytes.fromhex('240ac4123456')),
}

# What an ESP32's boot ROM prints after a software reset, before MicroPython starts.
ESP32_ROM_LOG = (
    b'ets Jul 29 2019 12:21:46\r\n'
    b'\r\n'
    b'rst:0xc (SW_CPU_RESET),boot:0x13 (SPI_FAST_FLASH_BOOT)\r\n'
    b'configsip: 0, SPIWP:0xee\r\n'
    b'clk_drv:0x00,q_drv:0x00,d_drv:0x00,cs0_drv:0x00,hd_drv:0x00,wp_drv:0x00\r\n'
    b'mode:DIO, clock div:2\r\n'
    b'load:0x3fff0030,len:4728\r\n'
    b'load:0x40078000,len:14888\r\n'
    b'load:0x40080400,len:3368\r\n'
    b'entry 0x400805cc\r\n'
)


class Identity:
    def __init__(self, name):
        (self.board, self.mcu, self.sysname, self.platform, self.build, self.mpy,
         self.freq, self.unique_id) = _TABLE[name]
        self.name = name
        self.release = '%d.%d.%d' % VERSION
        self.version = 'v%s on %s' % (self.release, BUILD_DATE)
        self.machine = '%s with %s' % (self.board, self.mcu)
        self.banner = 'MicroPython %s; %s' % (self.version, self.machine)
        # Only the stm32 port syncs its block devices before a soft reboot.
        self.sync_on_soft_reset = name == 'pyboard'
        self.rom_log = ESP32_ROM_LOG if name == 'esp32' else b''
        # The reference board's RTC starts at 2000-01-01 on power-up; real
        # boards usually had their clock set by a host tool.
        self.clock_from_boot = name == 'reference'

    def banner_block(self):
        return ('%s\r\nType "help()" for more information.\r\n' % self.banner).encode()
