# A hub and an agent on this machine, for the commands that show them. Sourced, with $build set to a build
# folder; everything lies in $stage, which goes at the end, and so do the programs.

stage=$(mktemp -d)
device=demo-device
site=demo-site
hub_pid=
agent_pid=
viewer_pids=()

leave_stage() {
  trap - EXIT INT TERM
  [ ${#viewer_pids[@]} = 0 ] || kill "${viewer_pids[@]}" 2>/dev/null || true
  [ -z "$agent_pid" ] || kill "$agent_pid" 2>/dev/null || true
  [ -z "$hub_pid" ] || kill "$hub_pid" 2>/dev/null || true
  wait 2>/dev/null || true
  rm -rf "$stage"
}
trap leave_stage EXIT
trap 'exit 130' INT TERM

# wait_for SECONDS COMMAND... : until the command succeeds.
wait_for() {
  local until=$((SECONDS + $1))
  shift
  until "$@"; do
    [ "$SECONDS" -lt "$until" ] || return 1
    sleep 0.1
  done
}

start_hub() {
  "$build/bin/orrery-hub" --listen 127.0.0.1:0 --port-file "$stage/port" >"$stage/hub.log" 2>&1 &
  hub_pid=$!
  wait_for 10 test -s "$stage/port" || return 1
  hub=127.0.0.1:$(cat "$stage/port")
}

install_agent() {
  agent=("$build/bin/orrery-agent" --home "$stage/home")
  "${agent[@]}" install --server "ws://$hub" --device "$device" --site "$site"
}

api() { # api PATH [BODY]
  curl -sS --max-time 10 ${2:+--data "$2"} "http://$hub$1"
}

device_is_subscribed() {
  api /api/devices | grep -q "\"S$site\""
}
