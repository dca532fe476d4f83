#!/bin/sh
# Whole-process time and peak memory of the checker's floor and of a full check, side by side, on the gmsh
# plates of CheckerBench.cpp:  bench/run-checker-processes.sh [BUILD_DIR]
build=${1:-build/bench}
for holes in 2 10 20 40; do
  for what in floor check; do
    /usr/bin/time -f "$what $holes x $holes holes: %e s, %U s user, %M KB peak" "$build/bin/kvx_checker_bench" "$what" "$holes" \
      >/dev/null || exit 1
  done
done
