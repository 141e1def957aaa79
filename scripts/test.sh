#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every automatic test:
# the release suite (under a virtual X display for the editor tests), the
# ThreadSanitizer stress test and the bounded fuzzing runs.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

jobs=$(nproc)

cmake --preset release
cmake --build --preset release -j "$jobs"
xvfb-run -a -s "-screen 0 1280x1024x24" ctest --preset release -j "$jobs"

# Audio thread against parameter, sample-rate and block-size changes.
cmake --preset tsan >/dev/null
cmake --build --preset tsan -j "$jobs" --target effect_tests
TSAN_OPTIONS="halt_on_error=1" ctest --preset tsan -R Stress

# setChunk, the bank-file reader and the legacy import under libFuzzer with
# AddressSanitizer and UBSan, for a bounded number of runs.
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz -j "$jobs" --target fuzz_setchunk fuzz_bankfile fuzz_legacy
ctest --preset fuzz -L fuzz
