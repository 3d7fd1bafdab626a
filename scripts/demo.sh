#!/usr/bin/env bash
# The demo: a shared simulated Mac and the SMC tools against it. Runs the
# diagnostics' forced-write test, then heats the simulated Mac and shows the
# temperatures and the firmware's fans react.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
bash scripts/build.sh build >/dev/null

bin=build/bin
sock=$(mktemp -d)/mac.sock
"$bin/quillon-helper" --smc-sim "$sock" &
server=$!
trap 'kill -TERM $server 2>/dev/null; wait $server 2>/dev/null || true' EXIT
for _ in $(seq 50); do [ -S "$sock" ] && break; sleep 0.1; done
export QUILLON_SMC="sim:$sock"

say() { printf '\n\033[1m%s\033[0m\n' "$*"; }
fans() { "$bin/quillon-helper" --diag --dumpkeys | grep -E '^  F[01](Ac|Md):' | sed -E 's/: size=.*  (flt|ui8)=/ = /'; }

say "A simulated Mac is running at $sock. Its safety sensors, idle:"
"$bin/quillon-helper" --temps
say "The diagnostics' forced-write test spins fan 0 up by hand (about 4 s):"
"$bin/quillon-helper" --diag | sed -n '/=== Write test/,$p'
say "Now full load (QLOD = 100), written by one process..."
"$bin/quillon-helper" --smc-write u8:QLOD 100
for i in 1 2 3 4; do
  sleep 2
  say "after $((i * 2)) s, read by another process:"
  "$bin/quillon" --temps | tail -n 1
done
say "The firmware has sped the fans up on its own:"
fans
"$bin/quillon-helper" --smc-write u8:QLOD 8 >/dev/null
say "Done. Try it yourself: QUILLON_SMC=sim $bin/quillon-helper --diag --dumpkeys"
