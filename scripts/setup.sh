#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when any is missing.
set -euo pipefail

packages=(
    cmake ninja-build g++ clang pkg-config
    libx11-dev libxtst-dev libcairo2-dev libsndfile1-dev
    libgtest-dev libgmock-dev libbenchmark-dev libclang-rt-14-dev
    lv2-dev liblilv-dev lilv-utils sordi
    xvfb fonts-ipafont-gothic
    zam-plugins
    fillets-ng-data-cs
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done

if [ ${#missing[@]} -gt 0 ]; then
    echo "Installing: ${missing[*]}"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
