# main.py: the board runs this after boot.py. Put your program here.
