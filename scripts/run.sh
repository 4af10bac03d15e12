#!/usr/bin/env bash
# Installs what is missing, builds, starts a virtual MicroPython board and
# launches Morvex with the board's port in its port list.
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
"$top/scripts/setup.sh"
if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ]; then
    echo "No display to show Morvex on; run it under a virtual one: xvfb-run -a $0"
    exit 1
fi
"$top/scripts/build.sh"

work="$(mktemp -d)"
python3 "$top/tools/virtual_board.py" --fs "$work/fs" --link "$work/ttyMC0" --family "${MORVEX_BOARD_FAMILY:-stm32}" \
    >"$work/board.out" 2>"$work/board.err" &
board=$!
trap 'kill $board 2>/dev/null; wait $board 2>/dev/null; rm -rf "$work"' EXIT

for _ in $(seq 100); do
    [ -s "$work/board.out" ] && break
    sleep 0.1
done
port="$(head -n1 "$work/board.out")"
if [ -z "$port" ]; then
    echo "The virtual board did not start:" >&2
    cat "$work/board.err" >&2
    exit 1
fi
echo "Virtual board on $port (choose it in the connection popup)"
MORVEX_EXTRA_PORTS="$port${MORVEX_EXTRA_PORTS:+:$MORVEX_EXTRA_PORTS}" "$top/build/morvex" "$@"
