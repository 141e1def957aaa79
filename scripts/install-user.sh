#!/usr/bin/env bash
# Installs the built plug-ins and the command-line host for the current user:
# DeEsser.so (with the factory bank) in ~/.vst, DeEsser.lv2 in ~/.lv2,
# DeEsser.clap (with the factory bank) in ~/.clap and deesser in ~/.local/bin.
# Build first: cmake --preset release && cmake --build --preset release
set -euo pipefail
cd "$(dirname "$0")/.."

build=${1:-build/release}
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
cmake --install "$build" --prefix "$stage" >/dev/null

copy() { # copy <staged folder> <destination>
    [ -d "$stage/$1" ] || return 0
    mkdir -p "$2"
    cp -R "$stage/$1/." "$2/"
    echo "installed $(ls "$stage/$1" | tr '\n' ' ')in $2"
}
copy lib/vst "$HOME/.vst"
copy lib/lv2 "$HOME/.lv2"
copy lib/clap "$HOME/.clap"
copy bin "$HOME/.local/bin"
