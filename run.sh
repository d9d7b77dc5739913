#!/usr/bin/env bash
# Installs what is missing, builds Quillbay+ and starts it. Without a display the program runs
# under Xvfb: a screenshot of the screen after start-up is saved to out/screenshot.png and the
# program is closed again.
set -euo pipefail
cd "$(dirname "$0")"

./scripts/install-deps.sh
cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build --target quillbay

if [ -n "${DISPLAY:-}" ]; then
  exec ./build/src/core/quillbay
fi

mkdir -p out
display=:$(( (RANDOM % 400) + 100 ))
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
trap 'kill "$program_pid" "$xvfb_pid" 2>/dev/null || true' EXIT
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

./build/src/core/quillbay &
program_pid=$!
# Wait until the main window is mapped, then let it paint.
for _ in $(seq 100); do
  xwininfo -root -tree 2>/dev/null | grep -q '"Quillbay+"' && break
  sleep 0.2
done
sleep 2
import -window root out/screenshot.png
echo "Quillbay+ ran under Xvfb; the screen after start-up is saved in out/screenshot.png"
kill "$program_pid" 2>/dev/null || true
wait "$program_pid" 2>/dev/null || true
