# Morse code on the board's LED.
import time

from machine import Pin

CODES = {'S': '...', 'O': '---', 'E': '.', 'T': '-', 'A': '.-', 'N': '-.'}
UNIT_MS = 150

try:
    led = Pin('LED', Pin.OUT)   # pyboards name their LED
except (TypeError, ValueError):
    led = Pin(2, Pin.OUT)       # most ESP32 boards have it on GPIO 2


def blink(text):
    for letter in text.upper():
        for mark in CODES.get(letter, ''):
            led.on()
            time.sleep_ms(UNIT_MS if mark == '.' else 3 * UNIT_MS)
            led.off()
            time.sleep_ms(UNIT_MS)
        time.sleep_ms(2 * UNIT_MS)
    time.sleep_ms(4 * UNIT_MS)
