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


def pkgindex_seeds(traces):
    """Descriptions in the index's shapes, names as users give them, and the
    info lines of a board whose _mpy and sys.path are those of recording i5."""
    stream = received(traces / "i5-sys-implementation.txt").decode("latin-1")
    mpy = stream.split("_mpy=")[1].split(",")[0]
    path = ast.literal_eval(stream[stream.index("['"):stream.index("]", stream.index("['")) + 1])
    lib = next(p for p in path if p.endswith("/lib"))
    return {
        "index-description": json.dumps({
            "hashes": [["umqtt/simple.mpy", "5d8b1a7e"], ["umqtt/__init__.mpy", "0e3f9a21"]],
            "deps": [["ssl", "latest"], ["github:org/repo/pkg@main", ""]], "version": "1.4.0"}).encode(),
        "urls-description": json.dumps({
            "urls": [["drivers/bme.py", "drivers/bme.py"], ["x.py", "../x.py"], ["g.py", "github:o/r/g.py"],
                     ["a.py", "https://host/a.py"]], "version": "0.1"}).encode(),
        "name-and-version": b"aioble 0.5.2\n",
        "github-place": b"github:org/repo/path/sub@branch\n",
        "url-of-a-file": b"https://host/lib/single.mpy\n",
        "board-info-i5": ("_pkginfo()\nmpy=%s\nlib=%s\n" % (mpy, lib)).encode(),
    }


def plot_seeds(traces):
    """Lines as board programs print them, the ESP32's boot log, and what the
    recordings received."""
    sys.path.insert(0, str(TOP / "tools"))
    from vboard.identity import ESP32_ROM_LOG
    seeds = {"esp32-boot-log": ESP32_ROM_LOG}
    seeds["program"] = b"".join(b"t: %d a: %.3f b: %d\r\n" % (n, n / 7.0, n % 7 - 3) for n in range(40))
    seeds["python-prints"] = (b"{'a': 1, 'b': 2.5}\r\n[1.0, -2.0, 3e-05]\r\n(4, 5)\r\n"
                              b"temp=21.5 hum=40 rpm 1200\r\nx = 3; y =4; z: -5\r\n")
    seeds["forms"] = (b"1 -2 +3 2.5e-3 .5 7. 3E+2\tnan inf -Infinity 1e999 0x1F v2 21C 12:30:05\r\n"
                      b"\x1b[32mtemp: \x1b[1;31m21.5\x1b[0m C; \xd1\x82: 4\r\n")
    seeds["seventeen-names"] = b" ".join(b"s%d: %d" % (n, n) for n in range(1, 19)) + b"\r\n"
    seeds["windows-worth"] = b"".join(b"v%d: %d\n" % (n % 20, n) for n in range(200))
    for name in ("d3-friendly-multi-statement.txt", "i4-friendly-long-output-and-traceback.txt"):
        seeds["trace-" + name[:-4]] = received(traces / name)
    return seeds


def main():
    traces = pathlib.Path(sys.argv[1])
    for target in ("replies", "ansi", "uname", "listing", "tar", "pax", "editor", "scheme", "wordlist", "dconf",
                   "repl", "pkgindex", "extraports", "plot"):
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

    write("extraports", "plain-and-serial", b"/tmp/ttyV0:/tmp/ttyV1=MC0001:/dev/pts/4")
    write("extraports", "usb-ids", "/tmp/ttyV0=0123ABCD[f055:9800 Pyboard Virtual Comm Port]:/tmp/ttyV1[10c4:EA60]:"
                                   "/tmp/ttyV2[303a:1001 Espressif: USB JTAG/serial=debug unit]".encode())

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

    for name, data in pkgindex_seeds(traces).items():
        write("pkgindex", name, data)
    for name, data in plot_seeds(traces).items():
        write("plot", name, data)


if __name__ == "__main__":
    main()
