#!/usr/bin/env bash
# Installs what building, testing, packaging and running Morvex need on Debian 12.
# Idempotent, and quiet when everything is there already.
set -euo pipefail

packages=(
    cmake g++ make ccache python3 tar fonts-dejavu-core
    qtbase5-dev libqt5serialport5-dev qttools5-dev-tools qttools5-dev qttranslations5-l10n
    libquazip1-qt5-dev libqwt-qt5-dev fonts-material-design-icons-iconfont
    xvfb xauth
    clang libclang-rt-14-dev
    help2man dpkg-dev file lintian desktop-file-utils appstream
    dconf-cli libxdamage-dev
)

missing=()
for package in "${packages[@]}"; do
    if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
    fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
