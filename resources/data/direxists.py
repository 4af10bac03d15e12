# Tells whether a board directory exists; the desktop prints the result in the friendly REPL
import os

def _direxists(d):
    try:
        os.listdir(d)
        return True
    except OSError:
        return False
