# Right-click this file and choose "Run on the MC": it runs on the board
# without being stored there, and what it prints shows in the terminal.
import gc
import os
import sys

info = os.uname()
print('Hello from', info.machine)
print('MicroPython', info.release, 'on', sys.platform)
print('Files here:', ', '.join(sorted(os.listdir())))
gc.collect()
print('Free memory:', gc.mem_free(), 'bytes')
