# Installed by morse.zpack: blinks a message once.
from lib.morse import blink

blink('HELLO')
