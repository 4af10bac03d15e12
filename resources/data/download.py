# Board side of the file download: 256-byte blocks as base64 records, each waiting for "^^"
import sys, ubinascii

def _download(filename):
    data = bytearray(256)
    mv = memoryview(data)
    csum = 0
    # closes the raw REPL's "OK" so the first block is a record of its own
    sys.stdout.write('>')
    try:
        with open(filename, 'rb') as f:
            while True:
                n = f.readinto(data)
                if not n:
                    break
                csum += sum(mv[:n])
                sys.stdout.write(ubinascii.b2a_base64(mv[:n]).decode().rstrip() + '#8>')
                if sys.stdin.buffer.read(2) != b'^^':
                    sys.stdout.write('nak#6>')
                    return
        sys.stdout.write('{}#7>'.format(csum & 0xFFFFFFFF))
    except Exception as e:
        sys.stdout.write(str(e).replace('>', '\\x3e') + '#6>')
