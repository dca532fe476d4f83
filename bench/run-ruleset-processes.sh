#!/bin/bash
# Whole-process figures of the rule-set round trip: the module's round trip (kvx_ruleset_process) beside
# its pugixml floor (kvx_ruleset_floor), `kvxim show` with and without --json, `kvxim rules` beside a
# process that only loads the module, and an empty program. For each: median wall time, median CPU time
# (user + system) and the spread (smallest to largest CPU time) of RUNS runs after one warm-up, and the
# largest peak resident set. CPU time is the steadier figure on a shared machine.
#   [SIZES="100 1000"] bench/run-ruleset-processes.sh BUILD_DIR [RUNS]   (kvx_ruleset_bench writes the samples)
set -euo pipefail
build=${1:?build folder}
runs=${2:-10}
bin=$build/bin
data=$build/bench-data
export KVX_MATERIAL_DB=$data/materials.sqlite
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT

measure() {  # runs command... : "wall W ms, cpu C ms (spread), peak P MB"
  local count=$1
  shift
  "$@" >/dev/null 2>&1
  local log=$out/log
  : >"$log"
  for ((i = 0; i < count; i++)); do /usr/bin/time -a -o "$log" -f "%e %U %S %M" "$@" >/dev/null 2>&1; done
  sort -n -k1 "$log" | awk '{ wall[NR] = $1 } END { printf "wall %5.0f ms, ", wall[int((NR + 1) / 2)] * 1000 }'
  awk '{ print $2 + $3, $4 }' "$log" | sort -n | awk '{ cpu[NR] = $1; if ($2 > peak) peak = $2 }
    END { printf "cpu %5.0f ms (%.0f-%.0f), peak %6.1f MB", cpu[int((NR + 1) / 2)] * 1000, cpu[1] * 1000,
          cpu[NR] * 1000, peak / 1024 }'
}

printf 'int main() { return 0; }\n' >"$out/empty.c"
cc -O2 -o "$out/empty" "$out/empty.c"

for rules in ${SIZES:-100 1000 10000}; do
  file=$data/rules-$rules.xml
  [[ -f $file ]] || { echo "missing $file: run kvx_ruleset_bench once first" >&2; exit 1; }
  echo "$(basename "$file") ($(du -k "$file" | cut -f1) KiB):"
  echo "  floor (pugixml)        $(measure "$runs" "$bin/kvx_ruleset_floor" "$file" "$out/floor.xml")"
  echo "  round trip             $(measure "$runs" "$bin/kvx_ruleset_process" roundtrip "$file" "$out/rt.xml")"
  echo "  kvxim show             $(measure "$runs" "$bin/kvxim" show "$file")"
  echo "  kvxim show --json      $(measure "$runs" "$bin/kvxim" show "$file" --json)"
done
echo "start-up:"
echo "  empty program          $(measure "$runs" "$out/empty")"
echo "  load the module only   $(measure "$runs" "$bin/kvx_ruleset_process" load)"
echo "  kvxim rules            $(measure "$runs" "$bin/kvxim" rules)"
echo "  kvxim --help           $(measure "$runs" "$bin/kvxim" --help)"
