# A private desktop session for headless runs, sourced by the test and screenshot
# scripts: a PulseAudio daemon with a null sink, and an X server (Xvfb). Everything is
# stopped by pid when the calling script exits.
#   qv_start_pulse          sets XDG_RUNTIME_DIR; Qt then plays into "Null Output"
#   qv_start_xvfb [WxHxD]   sets DISPLAY
#   qv_stop_session         stops both (also on EXIT)

qv_session_dir=$(mktemp -d)
qv_pulse_pid=
qv_xvfb_pid=

qv_stop_session() {
  local pid
  for pid in $qv_pulse_pid $qv_xvfb_pid; do
    kill "$pid" 2>/dev/null || continue
    # Gone before its files are removed; a daemon still writing them would race rm.
    for _ in $(seq 50); do
      kill -0 "$pid" 2>/dev/null || break
      sleep 0.05
    done
  done
  qv_pulse_pid=
  qv_xvfb_pid=
}
trap 'qv_stop_session; rm -rf "$qv_session_dir"' EXIT

qv_start_pulse() {
  export XDG_RUNTIME_DIR=$qv_session_dir/runtime
  mkdir -p "$XDG_RUNTIME_DIR" && chmod 700 "$XDG_RUNTIME_DIR"
  pulseaudio -D --exit-idle-time=-1 -n \
    --load="module-null-sink sink_name=qvnull" --load="module-native-protocol-unix" 2>/dev/null
  for _ in $(seq 50); do
    pactl info >/dev/null 2>&1 && break
    sleep 0.1
  done
  qv_pulse_pid=$(cat "$XDG_RUNTIME_DIR/pulse/pid")
}

qv_start_xvfb() {
  local screen=${1:-1600x1000x24}
  local display
  for display in $(seq 90 140); do
    [[ -e /tmp/.X11-unix/X$display || -e /tmp/.X$display-lock ]] && continue
    # -noreset: a server resets when its last client leaves, and a client connecting in
    # that moment (the next app start after xdotool or a quit) finds no socket.
    Xvfb ":$display" -screen 0 "$screen" -nolisten tcp -noreset >"$qv_session_dir/xvfb.log" 2>&1 &
    qv_xvfb_pid=$!
    export DISPLAY=":$display"
    for _ in $(seq 50); do
      # A server still going away on this display can answer first: the answer counts
      # only if ours is alive a moment later and answers too.
      if xdotool getmouselocation >/dev/null 2>&1; then
        sleep 0.3
        kill -0 "$qv_xvfb_pid" 2>/dev/null && xdotool getmouselocation >/dev/null 2>&1 && return 0
      fi
      kill -0 "$qv_xvfb_pid" 2>/dev/null || break
      sleep 0.1
    done
    kill "$qv_xvfb_pid" 2>/dev/null || true
  done
  echo "session: could not start Xvfb" >&2
  return 1
}

# Waits for a visible window whose name matches $1 and gives it the keyboard (there is
# no window manager to do that).
qv_focus_window() {
  local id
  for _ in $(seq 100); do
    id=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1) && [[ -n "$id" ]] && break
    sleep 0.1
  done
  [[ -n "$id" ]] || { echo "session: no window named $1" >&2; return 1; }
  xdotool windowfocus --sync "$id"
  echo "$id"
}
