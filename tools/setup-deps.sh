#!/bin/sh
# Installs the system packages the build needs, when they are missing.
# As root this runs apt-get; otherwise it prints the one command to run.
need=""
have_pkg() { dpkg-query -W -f='${Status}' "$1" 2>/dev/null | grep -q "install ok installed"; }
for p in cmake ninja-build g++ libgtest-dev libbenchmark-dev pkg-config; do
  have_pkg "$p" || need="$need $p"
done
# The benchmark peer is optional; NYX_WITH_PEER=1 asks for it.
if [ "${NYX_WITH_PEER:-0}" = 1 ] && ! have_pkg libopencv-dev; then need="$need libopencv-dev"; fi
[ -z "$need" ] && exit 0
if [ "$(id -u)" = 0 ]; then
  echo "installing:$need"
  apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq $need
else
  echo "missing packages:$need"
  echo "run: sudo apt-get install -y$need"
  exit 1
fi
