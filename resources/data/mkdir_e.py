# Makes one board directory (ESP32) unless it exists; pasted once per path prefix
import os
try:
    typ = os.stat($dir)[0]
except OSError:
    typ = 0
if typ != 0x4000:
    os.mkdir($dir)
