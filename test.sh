#!/usr/bin/env bash
# Installs what is missing, builds Quillbay+ and runs every test through ctest. The logic of
# every subsystem is also built and tested once without the windows, to prove it needs none, and
# the readers of outside data (Word packages, workbooks, SMTP replies, mail layout, Access
# databases) once more under the address and undefined-behaviour sanitizers.
set -euo pipefail
cd "$(dirname "$0")"

./scripts/install-deps.sh
jobs=$(nproc)

cmake -S . -B build -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j "$jobs"

cmake -S . -B build-core -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLBAY_GUI=OFF \
      -DQUILLBAY_BENCHMARKS=OFF >/dev/null
cmake --build build-core -j "$jobs"

sanitized_tests="native_engine letter_template document_merge postal_run search_run message_layout smtp_reply_reader smtp_conversation explorer_logic workbook
                 wab_reader mail_client_contacts pst_store smtp_send_run access_import"
cmake -S . -B build-asan -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUILLBAY_GUI=OFF \
      -DQUILLBAY_BENCHMARKS=OFF -DQUILLBAY_SANITIZE=ON >/dev/null
cmake --build build-asan -j "$jobs" --target $(printf 'tst_%s ' $sanitized_tests)

echo "== Outside data under the sanitizers =="
ctest --test-dir build-asan --output-on-failure -j "$jobs" -R "^($(echo $sanitized_tests | tr ' ' '|'))\$"
echo "== Logic without windows =="
ctest --test-dir build-core --output-on-failure -j "$jobs"
echo "== All tests =="
ctest --test-dir build --output-on-failure -j "$jobs"
echo "== The set-up command starts the program (under Xvfb) =="
DISPLAY= ./run.sh
