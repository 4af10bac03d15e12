#!/usr/bin/env python3
"""Makes the seed corpora of the fuzz targets from real inputs: recordings of
MicroPython firmware, archives made by GNU tar, and the program's resources.

    fuzz/make_seeds.py <board-traces folder>

The recordings are text files whose '>>' lines hold the bytes written to the
board and whose '<<' lines the bytes read from it, as Python bytes literals.
Seeds that findings left in the corpus (named "regress-*") are kept.
"""
import ast
import json
import os
import pathlib
import subprocess
import sys
import tempfile

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parent
CORPUS = HERE / "corpus"


def trace_steps(path):
    """(sent, received) chunks in order."""
    steps = []
    for line in path.read_text(encoding="latin-1").splitlines():
        if line.startswith(">> ") or line.startswith("<< "):
            steps.append((line[:2], ast.literal_eval(line[3:])))
    return steps


def received(path):
    return b"".join(data for kind, data in trace_steps(path) if kind == "<<")


def sent(path):
    return b"".join(data for kind, data in trace_steps(path) if kind == ">>")


def write(target, name, data):
    folder = CORPUS / target
    folder.mkdir(parents=True, exist_ok=True)
    (folder / name).write_bytes(data)


def clear(target):
    folder = CORPUS / target
    if folder.exists():
        for seed in folder.iterdir():
            if not seed.name.startswith("regress-"):
                seed.unlink()


def replies_seed(path):
    """Each received chunk arrives as one piece (or several of at most 63
    bytes), in the state the bytes sent before it put the board in."""
    state = 2  # friendly REPL
    out = bytearray()
    for kind, data in trace_steps(path):
        if kind == ">>":
            if b"\x01" in data:
                state = 3
            if b"\x02" in data:
                state = 2
            continue
        for at in range(0, len(data), 63):
            piece = data[at:at + 63]
            out.append(len(piece) << 2 | state)
            out += piece
        # a consumer takes what answered
        out.append(state)
    return bytes(out)


def micropython_json(entries):
    return ("[" + ", ".join('{"n": %s, "s": %d}' % (json.dumps(n), s) for n, s in entries) + "]").encode()


def listing_seeds(traces):
    seeds = {}
    for name in ("g1-ilistdir.txt", "g3-ilistdir-root-lfs2.txt"):
        stream = received(traces / name)
        seeds["trace-" + name[:-4]] = stream.replace(b"\x04", b"\r\n").replace(b">", b"\r\n")
        for line in stream.split(b"\r\n"):
            start = line.find(b"[(")
            if start < 0:
                continue
            try:
                items = ast.literal_eval(line[start:].decode())
            except (SyntaxError, ValueError):
                continue  # not a listing, such as the mount table
            dirs = [(n, -1) for n, kind, *rest in items if kind == 0x4000]
            files = [(n, rest[1] if len(rest) > 1 else -1) for n, kind, *rest in items if kind == 0x8000]
            echo = b"import os,json;print(json.dumps([{'n': item[0], 's': -1} for item in os.ilistdir('/flash'))))"
            seeds["json-" + name[:2] + "-%d" % len(seeds)] = (
                echo + b"\r\n" + micropython_json(dirs) + b"\r\n>>> \r\n"
                + echo + b"\r\n" + micropython_json(files) + b"\r\n>>> ")
    return seeds


def gnu_tar_seeds():
    seeds = {}
    with tempfile.TemporaryDirectory() as work:
        root = pathlib.Path(work)
        (root / "lib").mkdir()
        (root / "main.py").write_bytes((TOP / "resources/data/hash.py").read_bytes())
        (root / "lib/a.py").write_bytes(b"print('a')\n")
        (root / "boot.py").write_bytes(b"")
        deep = root / ("d" * 60) / ("e" * 60)
        deep.mkdir(parents=True)
        (deep / "long_name.py").write_bytes(b"x = 1\n")
        members = ["main.py", "lib", "lib/a.py", "boot.py"]
        for fmt in ("gnu", "ustar", "v7", "oldgnu", "pax"):
            out = root / ("out-" + fmt + ".tar")
            subprocess.run(["tar", "--format=" + fmt, "-b", "1", "-cf", str(out), "-C", work] + members, check=True)
            seeds["gnu-tar-" + fmt] = out.read_bytes()
        out = root / "zfw.tar"
        subprocess.run(["tar", "--format=pax", "-b", "1", "--pax-option=board=PYBv1.1,mod=F405,comment=seed",
                        "-cf", str(out), "-C", work] + members, check=True)
        seeds["gnu-tar-zfw-global-header"] = out.read_bytes()
        out = root / "prefix.tar"
        subprocess.run(["tar", "--format=ustar", "-b", "1", "-cf", str(out), "-C", work,
                        str(deep.relative_to(root) / "long_name.py")], check=True)
        seeds["gnu-tar-ustar-prefix"] = out.read_bytes()
    return seeds


def pax_records(archive, kind):
    """The data of the first pax header of this kind (b"g" global, b"x" per member)."""
    at = 0
    while at + 512 <= len(archive):
        header = archive[at:at + 512]
        size = int(header[124:136].strip(b"\0 ") or b"0", 8)
        if header[156:157] == kind:
            return archive[at + 512:at + 512 + size]
        at += 512 + (size + 511) // 512 * 512
    return b""


def dconf_keyfiles():
    """Settings as desktops leave them: the colour scheme alone, among others, or unset."""
    return {
        "prefer-dark": "[org/gnome/desktop/interface]\ncolor-scheme='prefer-dark'\n",
        "among-others": "[org/gnome/desktop/interface]\ngtk-theme='Adwaita'\ncolor-scheme='default'\n"
                        "font-name='Cantarell 11'\n[org/gnome/desktop/wm/preferences]\nbutton-layout='close'\n"
                        "[a]\nb=1\n",
        "unset": "[org/gnome/shell]\nfavorite-apps=['org.gnome.Terminal.desktop']\n",
    }


def dconf_compile(keyfile):
    """The binary database, made by dconf's own compiler."""
    with tempfile.TemporaryDirectory() as tmp:
        keyfiles = pathlib.Path(tmp) / "keyfiles"
        keyfiles.mkdir()
        (keyfiles / "00").write_text(keyfile)
        subprocess.run(["dconf", "compile", str(pathlib.Path(tmp) / "db"), str(keyfiles)], check=True)
        return (pathlib.Path(tmp) / "db").read_bytes()


def main():
    traces = pathlib.Path(sys.argv[1])
    for target in ("replies", "ansi", "uname", "listing", "tar", "pax", "editor", "scheme", "wordlist", "dconf",
                   "repl"):
        clear(target)

    for trace in sorted(traces.glob("*.txt")):
        write("replies", trace.stem, replies_seed(trace))
        stream = received(trace)
        if b"\x1b" in stream:
            write("ansi", trace.stem, stream)
    # How ESP-IDF firmware logs at boot: every line coloured by its level.
    write("ansi", "esp-idf-boot-log",
          b"\x1b[0;32mI (29) boot: ESP-IDF v4.4.4 2nd stage bootloader\x1b[0m\r\n"
          b"\x1b[0;33mW (312) spi_flash: Detected size(4096k) larger than the size in the binary image header\x1b[0m\r\n"
          b"\x1b[0;31mE (1020) wifi: esp_wifi_connect 1423 wifi not start\x1b[0m")
    write("ansi", "bold-and-colour", b"\x1b[1;31mTraceback\x1b[0m \x1b[1;4;32mok\x1b[m \x1b[90mgrey\x1b[0m")

    # The console: a kind byte, the typed line, then what the board answered.
    for stem, kind in (("d2-friendly-bytes-expr", 0), ("d3-friendly-multi-statement", 0), ("e1-paste-mode", 1),
                       ("i1-friendly-tab-completion", 2), ("i2-friendly-input-builtin", 0),
                       ("i4-friendly-long-output-and-traceback", 0), ("h1-soft-reset-friendly", 3)):
        trace = traces / (stem + ".txt")
        if trace.exists():
            typed = sent(trace).split(b"\r")[0].lstrip(b"\x05")
            write("repl", stem, bytes([kind]) + typed + b"\n" + received(trace))

    write("uname", "d1-friendly-uname", received(traces / "d1-friendly-uname.txt"))
    write("uname", "esp32",
          b"import os;print(os.uname())\r\n(sysname='esp32', nodename='esp32', release='1.28.0', "
          b"version='v1.28.0 on 2026-11-21', machine='Generic ESP32 module with ESP32')\r\n>>> ")

    for name, data in listing_seeds(traces).items():
        write("listing", name, data)

    tars = gnu_tar_seeds()
    for name, data in tars.items():
        write("tar", name, data)
    write("pax", "gnu-tar-global-header", pax_records(tars["gnu-tar-zfw-global-header"], b"g"))
    extended = pax_records(tars["gnu-tar-pax"], b"x")
    if extended:
        write("pax", "gnu-tar-extended-header", extended)

    for script in sorted((TOP / "resources/data").glob("*.py")):
        write("editor", "script-" + script.stem, script.name.encode() + b"\n" + script.read_bytes())
    write("editor", "scheme-xml", b"default_style.xml\n" + (TOP / "resources/default_style.xml").read_bytes())
    write("editor", "settings-json", b"config.json\n" + json.dumps(
        {"wifi": {"ssid": "lab", "retries": 3}, "pins": [12, 13], "debug": False}).encode())
    write("editor", "header", b"board.h\n#pragma once\n/* pins */\n#define LED 13 // on\nint blink(int ms);\n")
    write("editor", "page", b"index.html\n<!-- status -->\n<html><body class=\"x\"><p>ok</p></body></html>\n")
    write("editor", "binary", b"data.bin\n" + (TOP / "resources/morvex.ico").read_bytes()[:600])

    for scheme in ("default_style.xml", "drakula.xml"):
        write("scheme", scheme, (TOP / "resources" / scheme).read_bytes())
    write("scheme", "broken_scheme.xml", (TOP / "tests/editor/data/broken_scheme.xml").read_bytes())

    for words in sorted((TOP / "resources/languages").glob("*.xml")):
        write("wordlist", words.name, words.read_bytes())

    for name, keyfile in dconf_keyfiles().items():
        write("dconf", name, dconf_compile(keyfile))


if __name__ == "__main__":
    main()
