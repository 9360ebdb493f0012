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
command -v groff >/dev/null || need+=(groff-base)  # the man page checks
for extra in "$@"; do
  dpkg -s "$extra" >/dev/null 2>&1 || need+=("$extra")
done
if [ ${#need[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO=sudo
  $SUDO apt-get update -qq >/dev/null
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${need[@]}" >/dev/null
fi

# The presets and workflows need cmake 3.25; an older one fails later with a
# message about the preset file's version, which does not say what to do.
version=$(cmake --version | sed -n '1s/^cmake version \([0-9][0-9.]*\).*/\1/p')
if ! printf '3.25\n%s\n' "$version" | sort -V -C; then
  cat >&2 <<EOF
setup.sh: cmake ${version:-of unknown version} is too old; 3.25 or newer is needed.
  Debian 12 and later: apt-get install cmake.
  Debian 11: enable bullseye-backports, then apt-get install -t bullseye-backports cmake.
  Elsewhere: install a cmake release (https://cmake.org/download/) and put it first in PATH.
EOF
  exit 1
fi
