# Removes one board file (ESP32) and answers ">#" + code + text in one write
import sys, os

def _rm(filename):
    success = 0x38
    error = 'Done'
    try:
        os.remove(filename)
        success = 0x30
    except Exception as e:
        success = 0x31
        error = str(e).replace('>', '\\x3e')
    sys.stdout.write('>#' + chr(success) + error)
