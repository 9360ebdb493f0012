#!/bin/sh
# Usage: install_check.sh BUILD_DIR
# A stripped install puts both programs in bin/ and both pages in
# share/man/man1/, and the installed programs run.
set -eu
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --install "$1" --prefix "$prefix" --strip >/dev/null
for file in bin/xlate45 bin/nbconf share/man/man1/xlate45.1 share/man/man1/nbconf.1; do
  [ -f "$prefix/$file" ] || { echo "not installed: $file"; exit 1; }
done
for program in xlate45 nbconf; do
  if readelf -S "$prefix/bin/$program" | grep -q '\.symtab'; then echo "not stripped: $program"; exit 1; fi
done
"$prefix/bin/nbconf" --version | grep -qx 'nbconf [0-9.]*'
"$prefix/bin/xlate45" >/dev/null && exit 1 || [ $? -eq 1 ]
