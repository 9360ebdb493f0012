#!/usr/bin/env bash
# One command for the whole-process benchmark (see README, Performance):
#
#     bench/run.sh [--sizes 1,10,100] [--runs 5]
#
# Installs what is missing (the reference library and xmllint are needed only
# here), builds the `bench` preset's programs, then runs bench/run.py, which
# generates the documents once into build/bench/docs and measures.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"
./scripts/setup.sh libpugixml-dev libxml2-utils libbenchmark-dev
cmake --preset bench >/dev/null
cmake --build --preset bench --target xlate45 nbconf bench_measure io_floor pugixml_roundtrip >/dev/null
exec python3 bench/run.py "$@"
