# Board side of the file upload (STM32): base64 chunks in, one "#9>" per packet, "#"+code+text out
import sys, gc, pyb, ubinascii

def _upload(filename, chunk):
    success = 0x38
    error = ''
    data = bytearray(1028)
    mv = memoryview(data)
    rd = sys.stdin.buffer.readinto
    try:
        if rd(mv[:11]) < 11 or data[0] != 0x21:
            success = 0x31
            raise ValueError('Inv size packet {}'.format(bytes(data[:11])))
        count = int(bytes(data[1:11]))
        dsize = 0
        csum = 0
        sys.stdout.write('#9>')
        with pyb.FlashWriter(), open(filename, 'wb') as f:
            while count > 0:
                gc.collect()
                rcnt = min(count, chunk)
                # a chunk that overruns the buffer reads short and ends here
                if rd(mv[dsize:dsize + rcnt]) < rcnt:
                    success = 0x32
                    raise ValueError('Inv data packet')
                csum += sum(mv[dsize:dsize + rcnt])
                dsize += rcnt
                # flushing at 1024 keeps each decode on whole base64 quads
                if dsize >= 1024:
                    f.write(ubinascii.a2b_base64(mv[:dsize]))
                    dsize = 0
                count -= rcnt
                sys.stdout.write('#9>')
            if dsize:
                f.write(ubinascii.a2b_base64(mv[:dsize]))
        gc.collect()
        if rd(mv[:11]) < 11 or data[0] != 0x40:
            success = 0x33
            raise ValueError('Inv size csum')
        csum &= 0xFFFFFFFF
        if csum != int(bytes(data[1:11])):
            success = 0x34
            raise ValueError('Inv csum {}'.format(csum))
        success = 0x30
    except Exception as e:
        error = str(e)
    # the result has no '>' of its own: the raw REPL's end closes the record
    sys.stdout.write('#' + chr(success) + error.replace('>', '\\x3e'))
