# Makes one board directory (STM32) unless it exists; pasted once per path prefix
import os, pyb
try:
    typ = os.stat($dir)[0]
except OSError:
    typ = 0
if typ != 0x4000:
    with pyb.FlashWriter():
        os.mkdir($dir)
