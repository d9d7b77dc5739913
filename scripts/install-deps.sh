#!/usr/bin/env bash
# Installs the Debian packages Quillbay+ builds, runs and tests with. Only what is missing is
# installed, so a second run does nothing; sudo is used when not running as root.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config clang-format
  qt6-base-dev qt6-pdf-dev libqt6sql6-sqlite libqt6svg6 libgl-dev adwaita-icon-theme
  libzip-dev libpugixml-dev libfreexl-dev mdbtools-dev libpff-dev
  # the office suite behind .doc/.rtf/.odt, previews and the visible writer (with its window plugin)
  libreoffice-writer libreoffice-gtk3 python3-uno
  # tests: real peers, generated fixtures, a display
  python3 python3-aiosmtpd python3-docx python3-openpyxl python3-xlwt msmtp
  xvfb xauth x11-utils xdotool imagemagick openssl fonts-dejavu-core
  # installing: manual pages, icons, desktop files, the Debian package
  help2man librsvg2-bin desktop-file-utils appstream man-db dpkg-dev
  # benchmarks' peers
  docx2txt hyperfine
)

missing=()
for package in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$package")
  fi
done

if [ ${#missing[@]} -eq 0 ]; then
  exit 0
fi

echo "Installing: ${missing[*]}"
as_root=()
if [ "$(id -u)" -ne 0 ]; then
  as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
