#!/usr/bin/env bash
# Installs what is missing, builds Quillbay+ and runs every test through ctest. The logic of
# every subsystem is also built and tested once without the windows, to prove it needs none.
set -euo pipefail
cd "$(dirname "$0")"

./scripts/install-deps.sh
jobs=$(nproc)

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$jobs"

cmake -S . -B build-core -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLBAY_GUI=OFF \
      -DQUILLBAY_BENCHMARKS=OFF >/dev/null
cmake --build build-core -j "$jobs"

echo "== Logic without windows =="
ctest --test-dir build-core --output-on-failure -j "$jobs"
echo "== All tests =="
ctest --test-dir build --output-on-failure -j "$jobs"
