#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan, UBSan) into build-check/ and runs
# them one after the other, niced, each for the given seconds (default 600),
# starting from its seed corpus in fuzz/corpus/<target>. What a run learns
# stays in build-check/fuzz/work/<target>; a finding is written to
# build-check/fuzz/findings/ and fails the run. A table of executions and
# coverage per target ends the output.
#
#   scripts/fuzz.sh [seconds] [target...]
set -euo pipefail
top="$(cd "$(dirname "$0")/.." && pwd)"
# shellcheck source=scripts/checkbuild.sh
source "$top/scripts/checkbuild.sh"

seconds="${1:-600}"
shift || true
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    targets=(replies ansi uname listing tar pax editor scheme wordlist dconf repl)
fi

configure_check_build
cmake --build "$check_build" -j2 --target "${targets[@]/#/fuzz_}" -- --no-print-directory

work="$check_build/fuzz/work"
findings="$check_build/fuzz/findings"
mkdir -p "$findings"
summary=()
failed=0
for target in "${targets[@]}"; do
    mkdir -p "$work/$target"
    log="$check_build/fuzz/$target.log"
    dict=()
    [ -f "$top/fuzz/dict/$target.dict" ] && dict=(-dict="$top/fuzz/dict/$target.dict")
    echo "== fuzz_$target: ${seconds}s"
    status=0
    nice "$check_build/fuzz/fuzz_$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
        -max_len=8192 -print_final_stats=1 -artifact_prefix="$findings/$target-" "${dict[@]}" \
        "$work/$target" "$top/fuzz/corpus/$target" >"$log" 2>&1 || status=$?
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n1)
    cov=$(grep -o 'cov: [0-9]*' "$log" | tail -n1 | cut -d' ' -f2)
    features=$(grep -o 'ft: [0-9]*' "$log" | tail -n1 | cut -d' ' -f2)
    if [ "$status" -ne 0 ]; then
        failed=1
        grep -E '^(==[0-9]+==ERROR|SUMMARY|FUZZ_CHECK|.*runtime error)' "$log" | head -n 5 || true
        summary+=("$(printf '%-10s %12s %8s %8s  FAILED (see %s)' "$target" "${runs:-?}" "${cov:-?}" "${features:-?}" "$log")")
    else
        summary+=("$(printf '%-10s %12s %8s %8s  ok' "$target" "${runs:-?}" "${cov:-?}" "${features:-?}")")
    fi
done

printf '%-10s %12s %8s %8s\n' target executions coverage features
printf '%s\n' "${summary[@]}"
exit "$failed"
