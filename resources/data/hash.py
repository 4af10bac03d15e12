# Hashes a board file for synchronisation: md5 where the firmware has it, sha1 otherwise
try:
    from uhashlib import md5 as HASH
except Exception:
    from uhashlib import sha1 as HASH
from ubinascii import hexlify

def _hash(file):
    try:
        h = HASH()
        buf = bytearray(512)
        mv = memoryview(buf)
        with open(file, 'rb') as f:
            while True:
                n = f.readinto(buf)
                if not n:
                    break
                h.update(mv[:n])
        return hexlify(h.digest())
    except OSError as e:
        return 'err({})'.format(e.args[0]).encode()
