# Tests of the virtual board (python3 -m unittest discover -s tools/tests -t tools).
