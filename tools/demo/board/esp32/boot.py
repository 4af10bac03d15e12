# boot.py: the board runs this first at every start, then main.py if there is one.
# import webrepl
# webrepl.start()
