"""A MicroPython board in a pseudo-terminal, for testing the desktop program.

The board speaks the friendly REPL, paste mode, the raw REPL and raw-paste
mode, runs Python code in a MicroPython-like namespace and keeps its file
system in a host directory.
"""
