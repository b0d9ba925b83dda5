#!/bin/bash
# Benchmarks of the remote control (make bench): round trip, pipelined throughput, lookup scaling
# and memory, each against a floor measured in the same run. Builds what it needs into the build
# directory ($1, default build), starts every server on a free port, prints the tables and keeps
# a copy in <build>/bench-results.txt. Takes about three minutes. See bench/README.md.
set -u
BUILD_DIR=${1:-build}
cd "$(dirname "$0")/.." || exit 1
BIN=$BUILD_DIR/bin
# The Qt 6 build names its host uiremote-host-qt6.
HOST=$BIN/uiremote-host
grep -q '^UIREMOTE_QT_MAJOR:STRING=6' "$BUILD_DIR/CMakeCache.txt" 2>/dev/null && HOST=$BIN/uiremote-host-qt6
RESULTS=$BUILD_DIR/bench-results.txt

# Headless, as uiremote-host runs without a display; the same platform for every process.
export QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software

WORK=$(mktemp -d)
PIDS=()
STEP_PID=
if [ -z "${XDG_RUNTIME_DIR:-}" ]; then
  export XDG_RUNTIME_DIR=$WORK/runtime
  mkdir -m 700 "$XDG_RUNTIME_DIR"
fi
cleanup() {
  local pid
  [ -n "$STEP_PID" ] && kill "$STEP_PID" 2>/dev/null
  for pid in "${PIDS[@]}"; do kill "$pid" 2>/dev/null; done
  for pid in "${PIDS[@]}"; do wait "$pid" 2>/dev/null; done
  rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

if [ ! -f "$BUILD_DIR/CMakeCache.txt" ]; then
  cmake -S . -B "$BUILD_DIR" -DCMAKE_BUILD_TYPE=RelWithDebInfo || exit 1
fi
cmake --build "$BUILD_DIR" -j2 --target uiremote-host lookup_bench echo-floor bench-client scene-lookup interaction-bench tree_bench ids-bench wait_latency_bench || exit 1

# Starts a server that prints "listening on <port>"; sets SERVER_PID and SERVER_PORT. Waits up to
# START_LIMIT tenths of a second (a minute; longer under valgrind).
START_LIMIT=600
start_server() {
  local out=$1
  shift
  : >"$out"
  "$@" >"$out" 2>"$out.err" &
  SERVER_PID=$!
  PIDS+=("$SERVER_PID")
  local i=0
  until grep -q "listening on" "$out"; do
    i=$((i + 1))
    if [ $i -gt "$START_LIMIT" ] || ! kill -0 "$SERVER_PID" 2>/dev/null; then
      echo "did not start: $* ($(cat "$out.err" | tail -n 2))" >&2
      return 1
    fi
    sleep 0.1
  done
  SERVER_PORT=$(sed -n 's/.*listening on \([0-9]*\).*/\1/p' "$out")
}

# uiremote-host on a free port (it cannot pick one itself: port 0 means its default port).
start_host() {
  local qml=$1 attempt port
  for attempt in 1 2 3 4 5; do
    port=$("$BIN/bench-client" freeport) || return 1
    if start_server "$WORK/host.out" "$HOST" --port "$port" "$qml"; then
      HOST_PID=$SERVER_PID
      HOST_PORT=$SERVER_PORT
      return 0
    fi
  done
  return 1
}

FLOORS=0
start_floor() {
  FLOORS=$((FLOORS + 1))
  start_server "$WORK/floor$FLOORS.out" "$BIN/echo-floor" --port 0 "$@" || return 1
  FLOOR_PID=$SERVER_PID
  FLOOR_PORT=$SERVER_PORT
}

# uiremote-host on SCENE beside an echo floor that answers with the replies the host gave to the
# same requests (bench-client record OPTIONS), so both servers send the same bytes.
# Usage: host_and_floor SCENE NAME [record options...]; sets HOST_* and FLOOR_*.
host_and_floor() {
  local scene=$1 name=$2
  shift 2
  start_host "$scene" || return 1
  step "$BIN/bench-client" record --port "$HOST_PORT" --out "$WORK/$name.replies" "$@"
  start_floor --replies "$WORK/$name.replies"
}

stop() {
  local pid
  for pid in "$@"; do
    kill "$pid" 2>/dev/null
    wait "$pid" 2>/dev/null
  done
}

# Instructions per request under callgrind: the server runs under valgrind with its counters
# zeroed when a connection is accepted and dumped when its end is signalled, so each dump holds exactly
# one connection's work. Three connections: none (connect and close), N getpro one in flight, N
# invokeret echo in chunks of 10 per write (the next chunk after the 10 replies, so each chunk is
# one read at any speed). Per request = (dump - the empty connection's dump) / N. Instruction
# counts do not depend on the machine's load, unlike the timed figures.
# Usage: callgrind_counts NAME ZERO_FUNCTION DUMP_FUNCTION server command...; sets CG_<NAME>_*.
CG_MESSAGES=2000
# Both servers give an accepted descriptor to a socket with QAbstractSocket::setSocketDescriptor()
# (the host in its own acceptor, the floor inside QTcpServer) and hear of its end through
# QAbstractSocket::disconnected(): the same points in Qt's code delimit both dumps.
CG_ZERO='QAbstractSocket::setSocketDescriptor*'
CG_DUMP='QAbstractSocket::disconnected*'
callgrind_counts() {
  local name=$1 zero=$2 dump=$3
  shift 3
  local out=$WORK/cg.$name
  rm -f "$out".*
  START_LIMIT=3000 start_server "$WORK/cg-$name.out" valgrind --tool=callgrind --callgrind-out-file="$out" \
    --zero-before="$zero" --dump-before="$dump" "$@" || return 1
  local pid=$SERVER_PID port=$SERVER_PORT
  step "$BIN/bench-client" drive --port "$port" --kind none
  sleep 1
  step "$BIN/bench-client" drive --port "$port" --kind getpro --messages "$CG_MESSAGES"
  sleep 1
  step "$BIN/bench-client" drive --port "$port" --kind invokeret --messages "$CG_MESSAGES" --chunk 10
  sleep 1
  stop "$pid"
  local counts
  counts=$(bench/callgrind-count.py "$out".1 "$out".2 "$out".3) || return 1
  echo "$counts" >"$WORK/cg-$name.counts"
  # A zero point never reached leaves start-up in the first dump: no figure rather than a wrong one.
  if ! echo "$counts" | awk 'NR == 1 { ir0 = $2 } NR > 1 && $2 <= ir0 { bad = 1 } END { exit bad }'; then
    echo "!! $name: the empty connection cost more than $CG_MESSAGES requests (was $zero reached?)"
    return 1
  fi
  read -r CG_IR CG_ALLOC CG_REALLOC < <(echo "$counts" | awk -v n="$CG_MESSAGES" '
    NR == 1 { ir0 = $2; a0 = $3; r0 = $4 }
    NR > 1 { ir[NR] = ($2 - ir0) / n; al[NR] = ($3 - a0) / n; re[NR] = ($4 - r0) / n }
    END { printf "%.0f,%.0f %.1f,%.1f %.1f,%.1f\n", ir[2], ir[3], al[2], al[3], re[2], re[3] }')
  eval "CG_${name}_IR=\$CG_IR CG_${name}_ALLOC=\$CG_ALLOC CG_${name}_REALLOC=\$CG_REALLOC"
}

callgrind_section() {
  if ! command -v valgrind >/dev/null; then
    echo "valgrind is not installed: no instruction counts"
    return 0
  fi
  step "$BIN/bench-client" record --port "$1" --out "$WORK/cg.replies" --echo "$CG_MESSAGES"
  callgrind_counts host "$CG_ZERO" "$CG_DUMP" \
    "$HOST" --port "$("$BIN/bench-client" freeport)" bench/scenes/small.qml || { echo "!! failed: callgrind host"; STATUS=1; return; }
  callgrind_counts floor "$CG_ZERO" "$CG_DUMP" \
    "$BIN/echo-floor" --port 0 --replies "$WORK/cg.replies" || { echo "!! failed: callgrind floor"; STATUS=1; return; }
  awk -v hi="$CG_host_IR" -v fi="$CG_floor_IR" -v ha="$CG_host_ALLOC" -v fa="$CG_floor_ALLOC" \
      -v hr="$CG_host_REALLOC" -v fr="$CG_floor_REALLOC" -v n="$CG_MESSAGES" 'BEGIN {
    split(hi, h, ","); split(fi, f, ","); split(ha, x, ","); split(fa, y, ","); split(hr, p, ","); split(fr, q, ",")
    printf "%-34s | %10s %10s %8s | %12s %12s\n", "per request (" n " requests)", "host Ir", "floor Ir", "x floor", \
      "host allocs", "floor allocs"
    printf "%s\n", "----------------------------------------------------------------------------------------------"
    printf "%-34s | %10d %10d %7.2fx | %5.1f + %4.1fr %5.1f + %4.1fr\n", "getpro, one in flight", h[1], f[1], h[1] / f[1], x[1], p[1], y[1], q[1]
    printf "%-34s | %10d %10d %7.2fx | %5.1f + %4.1fr %5.1f + %4.1fr\n", "invokeret echo, chunks of 10", h[2], f[2], h[2] / f[2], x[2], p[2], y[2], q[2]
    printf "getpro instructions are %.2fx the floor'"'"'s (target: at most 2.5x): %s\n", h[1] / f[1], h[1] / f[1] <= 2.5 ? "met" : "NOT met"
  }'
  echo "Ir = instructions executed in the server process per request (callgrind; user space, every library)."
  echo "allocs = calls to malloc/calloc per request + calls to realloc (r)."
}

log_library() {
  if grep -q QmdxLogUtl "/proc/$1/maps" 2>/dev/null; then echo "loaded (logging active)"; else echo "not loaded (logging off)"; fi
}

# Runs a client step with a time limit, in the background so that a signal to this script is
# handled at once; a failure is reported and remembered.
STATUS=0
step() {
  timeout --foreground 300 "$@" &
  STEP_PID=$!
  wait "$STEP_PID" || { echo "!! failed: $*"; STATUS=1; }
  STEP_PID=
}

run() {
  echo "uiremote benchmarks, $(date -u '+%Y-%m-%d %H:%M UTC'), build dir $BUILD_DIR"
  echo "machine: $(nproc) CPUs, $(grep -m1 'model name' /proc/cpuinfo | sed 's/.*: //'), \
$(awk '/MemTotal/ {printf "%.1f GiB", $2 / 1048576}' /proc/meminfo) memory, $(uname -sr)"
  echo "load average at start: $(cut -d' ' -f1-3 /proc/loadavg)"
  echo

  # 1 and 2: the small scene.
  host_and_floor bench/scenes/small.qml small --echo 10000 || exit 1
  local host_pid=$HOST_PID host_port=$HOST_PORT floor_pid=$FLOOR_PID floor_port=$FLOOR_PORT
  echo "uiremote-host: trace log library $(log_library "$host_pid")"
  "$BIN/bench-client" requests small | "$BIN/scene-lookup" bench/scenes/small.qml >"$WORK/small.inproc" 2>/dev/null
  echo
  echo "== 1. Round trip =="
  step "$BIN/bench-client" roundtrip --host "$host_port" --floor "$floor_port" --samples 3000 --block 50 \
    --inproc "$WORK/small.inproc"
  echo
  echo "== 2. Pipelined throughput =="
  step "$BIN/bench-client" pipeline --host "$host_port" --floor "$floor_port" \
    --messages 10000 --clients 10 --chunk 10 --window 100 --repeats 3
  stop "$host_pid" "$floor_pid"
  echo
  echo "== 2b. Instructions per request (callgrind) =="
  start_host bench/scenes/small.qml || exit 1
  host_pid=$HOST_PID
  callgrind_section "$HOST_PORT"
  stop "$host_pid"

  # 3: generated scenes.
  echo
  echo "== 3. Lookup scaling =="
  "$BIN/lookup_bench" 20 >"$WORK/lookup_bench.txt" 2>&1
  step "$BIN/bench-client" lookup --header
  local shape count info path objects plain
  for shape in wide balanced; do
    for count in 1000 10000 100000; do
      info=$("$BIN/bench-client" genscene --shape "$shape" --objects "$count" --out "$WORK/scene.qml") || exit 1
      path=${info#*path=}
      objects=${info#objects=}
      objects=${objects%% *}
      plain=$(awk -v s="$shape" -v n="$count" '$1 == s && $2 == n { print $(NF - 1) }' "$WORK/lookup_bench.txt")
      host_and_floor "$WORK/scene.qml" scene --set lookup --path "$path" || exit 1
      "$BIN/bench-client" requests lookup --path "$path" |
        "$BIN/scene-lookup" --min-ms 300 "$WORK/scene.qml" >"$WORK/scene.inproc" 2>/dev/null
      step "$BIN/bench-client" lookup --host "$HOST_PORT" --floor "$FLOOR_PORT" --path "$path" --shape "$shape" \
        --objects "$objects" --inproc "$WORK/scene.inproc" --plain "${plain:--}" --budget-ms 1000
      stop "$HOST_PID" "$FLOOR_PID"
    done
  done
  echo "wide: one Repeater of N-1 items under o0; balanced: nested Repeaters, ten items per level (objects ="
  echo "named items); every item is visited before the last one is found. in-proc = controlObject() in a"
  echo "process with the same scene; QObject tree = lookup_bench's in-process getpro on plain QObjects (same"
  echo "count, same shape name); x floor = host p50 / echo-floor p50 for the same request bytes."

  # 4: fresh processes.
  echo
  echo "== 4. Memory =="
  host_and_floor bench/scenes/small.qml memory || exit 1
  host_pid=$HOST_PID
  host_port=$HOST_PORT
  sleep 1
  step "$BIN/bench-client" memory --host "$host_port" --host-pid "$host_pid" --floor "$FLOOR_PORT" \
    --floor-pid "$FLOOR_PID" --clients 100 --soak-clients 20 --soak-messages 500
  stop "$host_pid" "$FLOOR_PID"

  # 5: typing and waits.
  echo
  echo "== 5. Typing and waits =="
  start_host bench/scenes/typing.qml || exit 1
  step "$BIN/interaction-bench" --port "$HOST_PORT" --chars 4000 --chunk 200 --samples 2000 --block 50
  stop "$HOST_PID"
  echo
  echo "== How soon a wait answers after its change (target: within one frame, 20 ms) =="
  step "$BIN/wait_latency_bench" --trials 200
  echo
  echo "== Live tree: 10,000 objects against a bare QObject::children() walk =="
  "$BIN/tree_bench" 10000
  echo
  echo "== 6. Names from ids, per message, at 10,000 objects =="
  step "$BIN/ids-bench" --objects 10000
  echo "off = no naming; hooks = IdNames (objects named as created); walk = every object visited before"
  echo "each message (uiremote-host --name-from-ids before IdNames). near: the target is found first;"
  echo "far: the search visits all 10,000 objects before it. In-process, so no round trip in the figures."

  # 7: idle connections.
  echo
  echo "== 7. One active client beside 3,000 idle connections =="
  host_and_floor bench/scenes/small.qml idle || exit 1
  host_pid=$HOST_PID
  host_port=$HOST_PORT
  step "$BIN/bench-client" idle --host "$host_port" --floor "$FLOOR_PORT" --idle 3000 --messages 3000 --repeats 3
  stop "$host_pid" "$FLOOR_PID"
  echo "ratio = msgs/s with the idle connections / msgs/s without; the floor's ratio is what the event"
  echo "loop's poll() over every descriptor costs, the host's beyond it is its own per-client work."
  echo
  echo "load average at end: $(cut -d' ' -f1-3 /proc/loadavg)"
}

exec 3>&1 4>&2
exec > >(tee "$RESULTS") 2>&1
TEE_PID=$!
run
echo "(copy of this output: $RESULTS)"
exec 1>&3 2>&4 3>&- 4>&-
wait "$TEE_PID" 2>/dev/null
grep -q '^ *!! ' "$RESULTS" && STATUS=1
exit "$STATUS"
