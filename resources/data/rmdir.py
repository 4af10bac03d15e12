# Removes one empty board directory (STM32) and answers ">#" + code + text in one write
import sys, os, pyb

def _rmd(filename):
    success = 0x38
    error = 'Done'
    try:
        with pyb.FlashWriter():
            os.rmdir(filename)
        success = 0x30
    except Exception as e:
        success = 0x31
        error = str(e).replace('>', '\\x3e')
    sys.stdout.write('>#' + chr(success) + error)
