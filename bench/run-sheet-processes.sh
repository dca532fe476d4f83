#!/bin/bash
# Whole-process timings of reading four columns: `kvxim sheet` (or the sheet-only program), the floors,
# and openpyxl in read-only mode for comparison. Mean wall time of RUNS runs after one warm-up, and the
# peak resident memory of one run.
#   bench/run-sheet-processes.sh BUILD_DIR [RUNS]
set -euo pipefail
build=${1:?build folder}
runs=${2:-10}
bin=$build/bin
data=$build/bench-data
sheet=("$bin/kvx_sheet_cli" sheet)
[[ -x $bin/kvxim ]] && "$bin/kvxim" sheet --help >/dev/null 2>&1 && sheet=("$bin/kvxim" sheet)

mean_ms() {  # command... : mean milliseconds per run
  "$@" >/dev/null
  local start end
  start=$(date +%s%N)
  for ((i = 0; i < runs; i++)); do "$@" >/dev/null; done
  end=$(date +%s%N)
  echo $(((end - start) / runs / 1000000))
}

peak_mb() {  # command... : peak resident set of one run in MB
  /usr/bin/time -f %M "$@" 2>&1 >/dev/null | tail -1 | awk '{printf "%.1f", $1 / 1024}'
}

read_only_openpyxl() {
  /usr/bin/python3 - "$1" <<'PY'
import sys, openpyxl
book = openpyxl.load_workbook(sys.argv[1], read_only=True)
columns = [[], [], [], []]
for row in book.active.iter_rows(max_col=4, values_only=True):
    for column, value in zip(columns, row):
        column.append(value)
PY
}

for file in "$data"/table-100000.xlsx "$data"/table-60000.xls; do
  [[ -f $file ]] || { echo "missing $file: run kvx_spreadsheet_bench once first" >&2; exit 1; }
  kind=${file##*.}
  echo "$(basename "$file"):"
  echo "  ${sheet[*]##*/} --json  $(mean_ms "${sheet[@]}" "$file" --json) ms, peak $(peak_mb "${sheet[@]}" "$file" --json) MB"
  echo "  floor                $(mean_ms "$bin/kvx_sheet_floor" "$kind" "$file") ms, peak $(peak_mb "$bin/kvx_sheet_floor" "$kind" "$file") MB"
  if [[ $kind == xlsx ]]; then
    echo "  openpyxl read-only   $(runs=3 mean_ms read_only_openpyxl "$file") ms"
  fi
done
exit 0
