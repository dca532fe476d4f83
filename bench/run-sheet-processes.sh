#!/bin/bash
# Whole-process figures of reading four columns: `kvxim sheet` (or the sheet-only program while kvxim
# does not carry the command), the floors, and openpyxl in read-only mode for comparison. For each: mean
# wall time and mean CPU time (user + system) of RUNS runs after one warm-up, and the largest peak
# resident set. CPU time is the steadier figure on a shared machine.
#   bench/run-sheet-processes.sh BUILD_DIR [RUNS]      (kvx_spreadsheet_bench writes the samples)
set -euo pipefail
build=${1:?build folder}
runs=${2:-10}
bin=$build/bin
data=$build/bench-data
sheet=("$bin/kvx_sheet_cli" sheet)
if [[ -x $bin/kvxim ]] && "$bin/kvxim" sheet --help >/dev/null 2>&1; then sheet=("$bin/kvxim" sheet); fi

measure() {  # runs command... : "wall W ms, cpu C ms, peak P MB"
  local count=$1
  shift
  "$@" >/dev/null 2>&1
  local log
  log=$(mktemp)
  for ((i = 0; i < count; i++)); do /usr/bin/time -a -o "$log" -f "%e %U %S %M" "$@" >/dev/null 2>&1; done
  awk -v n="$count" '{ wall += $1; cpu += $2 + $3; if ($4 > peak) peak = $4 }
    END { printf "wall %4.0f ms, cpu %4.0f ms, peak %6.1f MB", wall / n * 1000, cpu / n * 1000, peak / 1024 }' "$log"
  rm -f "$log"
}

openpyxl_read_only() {
  /usr/bin/python3 -c '
import sys, openpyxl
book = openpyxl.load_workbook(sys.argv[1], read_only=True)
columns = [[], [], [], []]
for row in book.active.iter_rows(max_col=4, values_only=True):
    for column, value in zip(columns, row):
        column.append(value)
' "$1"
}
export -f openpyxl_read_only

for file in "$data"/table-100000.xlsx "$data"/table-60000.xls; do
  [[ -f $file ]] || { echo "missing $file: run kvx_spreadsheet_bench once first" >&2; exit 1; }
  kind=${file##*.}
  echo "$(basename "$file"):"
  echo "  $(basename "${sheet[0]}") sheet --json  $(measure "$runs" "${sheet[@]}" "$file" --json)"
  echo "  floor                    $(measure "$runs" "$bin/kvx_sheet_floor" "$kind" "$file")"
  if [[ $kind == xlsx ]]; then
    echo "  openpyxl read-only       $(measure 3 bash -c 'openpyxl_read_only "$0"' "$file")"
  fi
done
