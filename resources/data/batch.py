# Board side of batched uploads (STM32): file after file in one run, every packet acknowledged
import sys, gc, pyb, ubinascii

def _batch(chunk):
    data = bytearray(1028)
    mv = memoryview(data)
    rd = sys.stdin.buffer.readinto
    rdb = sys.stdin.buffer.read
    wr = sys.stdout.write
    # "#9>" goes only when the next packet is read at once: a line without
    # flow control must never bring bytes the board does not read
    wr('#9>')
    # a header is one packet, its name read right behind its digits; anything else ends the batch
    while rd(mv[:15]) and data[0] == 0x21:
        try:
            count = int(bytes(data[1:11]))
            with pyb.FlashWriter():
                f = open(str(ubinascii.a2b_base64(rdb(int(bytes(data[11:15])))), 'utf-8'), 'wb')
        except Exception as e:
            # reported, and the next header awaited
            wr('#8' + str(e).replace('>', '\\x3e') + '>')
            continue
        code = 0x30
        error = ''
        csum = dsize = 0
        try:
            while True:
                # the last acknowledgement only once the file is complete
                if not count:
                    with pyb.FlashWriter():
                        f.close()
                gc.collect()
                wr('#9>')
                if not count:
                    break
                rcnt = min(count, chunk)
                got = rd(mv[dsize:dsize + rcnt])
                if got < rcnt:
                    # a chunk that overruns the buffer: its rest is skipped, the packets stay in step
                    rdb(rcnt - got)
                    if code == 0x30:
                        code, error = 0x32, 'Inv data packet'
                csum += sum(mv[dsize:dsize + got])
                dsize += got
                count -= rcnt
                # flushing at 1024 keeps each decode on whole base64 quads
                if dsize >= 1024 or not count:
                    if code == 0x30:
                        try:
                            with pyb.FlashWriter():
                                f.write(ubinascii.a2b_base64(mv[:dsize]))
                        except Exception as e:
                            code, error = 0x38, str(e)
                    dsize = 0
            rd(mv[:11])
            if code == 0x30 and data[0] != 0x40:
                code, error = 0x33, 'Inv size csum'
            if code == 0x30 and csum & 0xFFFFFFFF != int(bytes(data[1:11])):
                code, error = 0x34, 'Inv csum {}'.format(csum & 0xFFFFFFFF)
        except Exception as e:
            code, error = 0x38, str(e)
        wr('#' + chr(code) + error.replace('>', '\\x3e') + '>')
