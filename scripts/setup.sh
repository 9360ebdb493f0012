#!/usr/bin/env bash
# Installs what building and testing need, when it is missing. Idempotent and quiet.
set -euo pipefail
need=()
command -v cmake >/dev/null || need+=(cmake)
command -v ninja >/dev/null || need+=(ninja-build)
command -v g++ >/dev/null || need+=(g++)
[ -f /usr/lib/x86_64-linux-gnu/libgtest.a ] || [ -f /usr/lib/libgtest.a ] || need+=(libgtest-dev)
[ -f /usr/lib/x86_64-linux-gnu/libgmock.a ] || [ -f /usr/lib/libgmock.a ] || need+=(libgmock-dev)
command -v python3 >/dev/null || need+=(python3)
[ -f /usr/include/zlib.h ] || need+=(zlib1g-dev)
for extra in "$@"; do
  dpkg -s "$extra" >/dev/null 2>&1 || need+=("$extra")
done
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq >/dev/null
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}" >/dev/null
fi
