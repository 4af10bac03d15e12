# Board side of package installs, loaded after the sync's hash script: the .mpy
# version and library folder, and _hash on sha256 where the firmware has it
import sys
try:
    from uhashlib import sha256 as HASH
except Exception:
    pass

def _pkginfo():
    print('mpy=' + str(getattr(sys.implementation, '_mpy', '')))
    for p in sys.path:
        if p.endswith('/lib'):
            print('lib=' + p)
            break
