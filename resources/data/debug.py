# Echo test of the raw REPL byte path: every 32 bytes read come back as "RX: " + bytes + ">"
import sys

def _debug():
    try:
        while True:
            d = sys.stdin.buffer.read(32)
            if len(d) < 32:
                sys.stdout.write('INV data ' + repr(d).replace('>', '\\x3e'))
                raise EOFError
            sys.stdout.buffer.write(b'RX: ' + d + b'>')
    # Ctrl-C is the way out of the loop, so it ends it like a short read does
    except (Exception, KeyboardInterrupt):
        pass
    sys.stdout.write('\nFIN')
