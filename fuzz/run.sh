#!/usr/bin/env bash
# Builds the fuzz targets (preset `fuzz`: clang, AddressSanitizer and
# UndefinedBehaviorSanitizer) and runs each for SECONDS (default 60), seeded
# from fuzz/corpus/<target> and fuzz/regressions/<target>. Any crash, leak,
# timeout, out-of-memory or sanitizer report fails the run; the input that
# caused it is left in build/fuzz/findings/<target>/ and belongs in
# fuzz/regressions/<target>/ once fixed (the test suite replays that folder).
# Prints the executions per second of each target.
set -euo pipefail
seconds=${1:-60}
cd "$(dirname "$0")/.."

targets=()
for source in fuzz/*_fuzz.cpp; do
  name=$(basename "$source" .cpp)
  targets+=("${name%_fuzz}")
done

cmake --preset fuzz >/dev/null
cmake --build --preset fuzz --target "${targets[@]/%/_fuzz}" >/dev/null

failed=()
for target in "${targets[@]}"; do
  work=build/fuzz/work/$target        # grows between runs; not kept in the tree
  findings=build/fuzz/findings/$target
  log=build/fuzz/$target.log
  mkdir -p "$work" "$findings" "fuzz/regressions/$target"
  status=0
  ASAN_OPTIONS=detect_leaks=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
    "build/fuzz/fuzz/${target}_fuzz" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
      -print_final_stats=1 -artifact_prefix="$findings/" \
      "$work" "fuzz/corpus/$target" "fuzz/regressions/$target" >"$log" 2>&1 || status=$?
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -1)
  if [ "$status" -ne 0 ] || grep -qE '^(==[0-9]+==ERROR|SUMMARY: )|runtime error:' "$log"; then
    failed+=("$target")
    echo "fuzz $target: FAILED (status $status); see $log and $findings/"
    grep -E 'ERROR|SUMMARY|runtime error|Test unit written' "$log" | head -5 || true
  else
    printf 'fuzz %-16s %6s exec/s, %s runs in %ss\n' "$target" "${rate:-?}" "${runs:-?}" "$seconds"
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "fuzz findings in: ${failed[*]}"
  exit 1
fi
