#!/usr/bin/env python3
"""Prepares the demo that scripts/run.sh starts.

In WORK it makes:
  fs/       the virtual board's files as a new board holds them (the family's)
  project/  an example project, with a .zpack and a .zfw made from the
            sources in tools/demo/packages
  config/   a settings store of the demo's own: Morvex runs with
            XDG_CONFIG_HOME=WORK/config, so the connection popup offers the
            virtual board's port and family, and the PC pane opens at project/.
            The user's own settings are neither read nor written.

Usage: setup.py WORK [--family stm32|esp32] [--port PATH] [--fs DIR]
                     [--config DIR] [--desktop-settings]
--port is the virtual board's link (WORK/ttyMC0 by default); --fs and
--config put those folders elsewhere. --desktop-settings links the user's
other settings folders (GTK, dconf, fonts, ...) into config/, so that the
demo keeps the desktop's look.
"""
import argparse
import io
import os
import shutil
import sys
import tarfile
import time
import zipfile

HERE = os.path.dirname(os.path.abspath(__file__))
FAMILIES = {
    # family: (index in the connection popup, folder the board pane opens at, board name)
    'stm32': (0, '/flash', 'PYBv1.1'),
    'esp32': (1, '', 'ESP32'),
}
SETTINGS_DIR = 'Halvorn.'
SETTINGS_FILE = 'Morvex.conf'


def copy_tree(source, target):
    os.makedirs(target, exist_ok=True)
    for entry in sorted(os.listdir(source)):
        src = os.path.join(source, entry)
        dst = os.path.join(target, entry)
        if os.path.isdir(src):
            copy_tree(src, dst)
        else:
            shutil.copyfile(src, dst)


def read(path):
    with open(path, 'rb') as f:
        return f.read()


def package_members(root):
    """(board path, content) of the two example packages, for a board whose files start at root."""
    morse = [
        (root + '/lib/morse.py', read(os.path.join(HERE, 'project', 'lib', 'morse.py'))),
        (root + '/morse_demo.py', read(os.path.join(HERE, 'packages', 'morse_demo.py'))),
    ]
    sensors_dir = os.path.join(HERE, 'packages', 'sensors')
    sensors = [(root + '/sensors/' + name, read(os.path.join(sensors_dir, name)))
               for name in sorted(os.listdir(sensors_dir))]
    return morse, sensors


def write_zpack(path, members, comment):
    # Names are board paths, absolute, as the board's current folder may be
    # any; a zpack has no directory members.
    with zipfile.ZipFile(path, 'w', zipfile.ZIP_DEFLATED) as z:
        z.comment = comment.encode('utf-8')
        for name, data in members:
            z.writestr(name, data)


def write_zfw(path, members, board, directory):
    pax = {'board': board, 'mod': 'sensors', 'comment': 'example firmware pack of the Morvex demo'}
    now = int(time.time())
    with tarfile.open(path, 'w', format=tarfile.PAX_FORMAT, pax_headers=pax) as tar:
        info = tarfile.TarInfo(directory)
        info.type = tarfile.DIRTYPE
        info.mode = 0o755
        info.mtime = now
        tar.addfile(info)
        for name, data in members:
            info = tarfile.TarInfo(name)
            info.size = len(data)
            info.mode = 0o644
            info.mtime = now
            tar.addfile(info, io.BytesIO(data))


def ini_value(text):
    # QSettings' ini escapes: quoted, with \x escapes for what is not printable ASCII.
    out = []
    escaped = False
    for ch in text:
        if ch in '"\\':
            out.append('\\' + ch)
            escaped = False
        elif ' ' <= ch <= '~' and not (escaped and ch in '0123456789abcdefABCDEF'):
            out.append(ch)
            escaped = False
        else:
            out.append('\\x%04x' % ord(ch))
            escaped = True
    return '"' + ''.join(out) + '"'


def write_settings(config, port, family, project):
    folder = os.path.join(config, SETTINGS_DIR)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, SETTINGS_FILE), 'w', encoding='ascii') as f:
        f.write('[UI]\n')
        f.write('Dir=%s\n' % ini_value(project))
        f.write('MC=%d\n' % FAMILIES[family][0])
        f.write('Port=%s\n' % ini_value(port))


def link_desktop_settings(config):
    home = os.environ.get('XDG_CONFIG_HOME', '')
    if not os.path.isabs(home):
        home = os.path.join(os.path.expanduser('~'), '.config')
    if not os.path.isdir(home) or os.path.realpath(home) == os.path.realpath(config):
        return
    for entry in os.listdir(home):
        target = os.path.join(config, entry)
        if entry != SETTINGS_DIR and not os.path.lexists(target):
            os.symlink(os.path.join(home, entry), target)


def main(argv):
    parser = argparse.ArgumentParser(description='Prepares the demo of scripts/run.sh.')
    parser.add_argument('work')
    parser.add_argument('--family', choices=sorted(FAMILIES), default='stm32')
    parser.add_argument('--port')
    parser.add_argument('--fs')
    parser.add_argument('--config')
    parser.add_argument('--desktop-settings', action='store_true')
    opts = parser.parse_args(argv)

    work = os.path.abspath(opts.work)
    port = opts.port or os.path.join(work, 'ttyMC0')
    fs = os.path.abspath(opts.fs or os.path.join(work, 'fs'))
    config = os.path.abspath(opts.config or os.path.join(work, 'config'))
    project = os.path.join(work, 'project')

    copy_tree(os.path.join(HERE, 'board', opts.family), fs)
    copy_tree(os.path.join(HERE, 'project'), project)
    _, root, board = FAMILIES[opts.family]
    morse, sensors = package_members(root)
    write_zpack(os.path.join(project, 'morse.zpack'), morse, 'Morse code blinker')
    write_zfw(os.path.join(project, 'sensors.zfw'), sensors, board, root + '/sensors/')
    write_settings(config, port, opts.family, project)
    if opts.desktop_settings:
        link_desktop_settings(config)
    return 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1:]))
