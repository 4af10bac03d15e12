# Blinks the board's LED in Morse code. Upload lib/morse.py too (double-click
# it and keep its folder), upload this file as main.py, then press Reset.
from lib.morse import blink

while True:
    blink('SOS')
