# Board side of batched uploads (ESP32): file after file in one run, every packet acknowledged
import sys, gc, ubinascii

def _batch(chunk):
    data = bytearray(1028)
    mv = memoryview(data)
    rd = sys.stdin.buffer.readinto
    rdb = sys.stdin.buffer.read
    wr = sys.stdout.write
    # each "#9>" is sent only when the next packet is read at once: a line
    # without flow control must never bring bytes the board is not reading
    wr('#9>')
    while True:
        # a header is one packet: its name follows in a read of its own
        rd(mv[:15])
        # anything but a file header ends the batch
        if data[0] != 0x21:
            return
        try:
            count = int(bytes(data[1:11]))
            name = str(ubinascii.a2b_base64(rdb(int(bytes(data[11:15])))), 'utf-8')
            f = open(name, 'wb')
        except Exception as e:
            # reported, and the next header is awaited
            wr('#8' + str(e).replace('>', '\\x3e') + '>')
            continue
        code = 0x30
        error = ''
        csum = 0
        dsize = 0
        try:
            if not count:
                f.close()
            gc.collect()
            wr('#9>')
            while count > 0:
                rcnt = min(count, chunk)
                got = rd(mv[dsize:dsize + rcnt])
                if got < rcnt:
                    # a chunk that overruns the buffer: the rest is read, so the packets stay in step
                    rdb(rcnt - got)
                    if code == 0x30:
                        code = 0x32
                        error = 'Inv data packet'
                csum += sum(mv[dsize:dsize + got])
                dsize += got
                count -= rcnt
                # flushing at 1024 keeps each decode on whole base64 quads
                if dsize >= 1024 or not count:
                    if code == 0x30:
                        try:
                            f.write(ubinascii.a2b_base64(mv[:dsize]))
                        except Exception as e:
                            code = 0x38
                            error = str(e)
                    dsize = 0
                if not count:
                    f.close()
                # the last one only once the file is complete
                gc.collect()
                wr('#9>')
            rd(mv[:11])
            if data[0] != 0x40:
                if code == 0x30:
                    code = 0x33
                    error = 'Inv size csum'
            elif code == 0x30:
                csum &= 0xFFFFFFFF
                if csum != int(bytes(data[1:11])):
                    code = 0x34
                    error = 'Inv csum {}'.format(csum)
        except Exception as e:
            code = 0x38
            error = str(e)
        wr('#' + chr(code) + error.replace('>', '\\x3e') + '>')
