#!/usr/bin/env bash
# Installs what is missing, builds Quillbay+ and starts it. Without a display the program runs
# under Xvfb: a screenshot of the screen after start-up is saved to out/screenshot.png and the
# program is closed again. QUILLBAY_BUILD_DIR names another build folder than "build".
set -euo pipefail
cd "$(dirname "$0")"

build_dir=${QUILLBAY_BUILD_DIR:-build}
./scripts/install-deps.sh
cmake -S . -B "$build_dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build_dir" --target quillbay
program=./$build_dir/src/app/quillbay

if [ -n "${DISPLAY:-}" ]; then
  exec "$program"
fi

# A display number that no other X server holds.
number=99
while [ -e "/tmp/.X${number}-lock" ] || [ -e "/tmp/.X11-unix/X${number}" ]; do
  number=$((number + 1))
done
display=:$number

mkdir -p out
rm -f out/screenshot.png
program_pid=""
Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
trap 'kill $program_pid $xvfb_pid 2>/dev/null || true' EXIT
export DISPLAY=$display
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done
if ! xdpyinfo >/dev/null 2>&1; then
  echo "Xvfb did not start on $display" >&2
  exit 1
fi

"$program" &
program_pid=$!
# Wait until the main window is mapped, then let it paint.
mapped=no
for _ in $(seq 150); do
  if ! kill -0 "$program_pid" 2>/dev/null; then
    echo "Quillbay+ ended before its main window was shown" >&2
    exit 1
  fi
  if xwininfo -root -tree 2>/dev/null | grep -q '"Quillbay+"'; then
    mapped=yes
    break
  fi
  sleep 0.2
done
if [ "$mapped" != yes ]; then
  echo "The main window of Quillbay+ did not appear within 30 seconds" >&2
  exit 1
fi
sleep 2
import -window root out/screenshot.png
kill "$program_pid" 2>/dev/null || true
wait "$program_pid" 2>/dev/null || true
program_pid=""
echo "Quillbay+ ran under Xvfb; the screen after start-up is saved in out/screenshot.png"
