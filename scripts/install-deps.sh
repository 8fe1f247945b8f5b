#!/usr/bin/env bash
# Installs the Debian 12 packages that the build, the host and the tests need.
# Safe to run again: it asks apt only for what is missing and says nothing when all is there.
set -euo pipefail

packages=(
    cmake ninja-build g++ lld                          # the build (LLVM's linker: faster links)
    qt6-base-dev qt6-base-dev-tools qt6-serialport-dev # Qt, and the serial-line transport
    libqcustomplot-dev                                 # the charts
    liblxi-dev libtirpc-dev                            # the VXI-11 transport
    netbase                                            # /etc/protocols, which VXI-11's RPC reads
    libqt6sql6-sqlite libqt6sql6-psql                  # the session store's two databases
    postgresql                                         # a real server for the store's tests
    libgl-dev                                          # Qt6::Gui's CMake package asks for it
    fonts-dejavu-core                                  # the same font in every offscreen test
    clang-format clang-tidy                            # the formatting and lint gates
    lxi-tools python3-pyvisa python3-pyvisa-py         # real VXI-11 clients the simulator's tests run
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
if [ "$(id -u)" -ne 0 ]; then
    sudo="sudo"
fi
echo "Installing: ${missing[*]}"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
