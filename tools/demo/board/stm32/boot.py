# boot.py: the board runs this first at every start, then main.py.
# Keep it short: a fault here stops the board before main.py.
import pyb

# pyb.usb_mode('VCP+MSC')  # serial port and USB drive, as it starts now
# pyb.main('main.py')      # the script to run once this one ends
