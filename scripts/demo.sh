#!/usr/bin/env bash
# Installs what is missing, builds the plug-in and the command-line host, and
# renders the built-in demo signal: writes demo-in.wav, demo-out.wav, demo.png.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh
cmake --preset release
cmake --build --preset release -j "$(nproc)" --target deesser DeEsser
./build/release/host/deesser demo "$@"
