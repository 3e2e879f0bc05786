#!/usr/bin/env bash
# The real application end to end, as a producer meets it: a generated library indexed
# from the terminal, the window started under Xvfb with sound going to a PulseAudio null
# sink and diagnostics on, Space to play, Down to step, Ctrl+Q to quit. The diagnostics
# log must show both loads and the player reaching Playing; the window must have drawn
# something other than one flat colour.
#   tests/e2e/window_e2e.sh BUILD_DIR
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
build=$(cd "${1:-$root/build}" && pwd)
source "$root/tools/lib/session.sh"

home=$qv_session_dir/home
export HOME=$home XDG_DATA_HOME=$home/.local/share XDG_CONFIG_HOME=$home/.config \
  XDG_CACHE_HOME=$home/.cache XDG_STATE_HOME=$home/.local/state
mkdir -p "$home"
library="$home/Music/Drum & Bass 100% «Packs»"

fail() {
  echo "window e2e: FAILED: $*" >&2
  [[ -f "$qv_session_dir/app.log" ]] && sed 's/^/  app: /' "$qv_session_dir/app.log" >&2
  exit 1
}

"$build/testkit/qv-genlib" --out "$library" --files 120 --seed 3 >/dev/null
"$build/cli/quorvalinder-cli" scan "$library" >/dev/null

# A returning user: the first start's quick tour would take Space and Down.
mkdir -p "$XDG_CONFIG_HOME/Ostrelle"
printf '[General]\nQVQuickTourShown=true\n' >"$XDG_CONFIG_HOME/Ostrelle/Quorvalinder.conf"

qv_start_pulse
qv_start_xvfb 1600x1000x24
QUORVALINDER_PLAYHEAD_DIAGNOSTICS=1 "$build/app/quorvalinder" >"$qv_session_dir/app.log" 2>&1 &
app=$!
qv_focus_window "Quorvalinder" >/dev/null || fail "no window appeared"
sleep 1 # the warm-up overlay comes and goes
"$build/testkit/qv-grab" "$qv_session_dir/window.png" || fail "cannot grab the screen"
xdotool key space
sleep 1.5 # a slow machine still decodes the first preview in time
xdotool key Down
sleep 1.5 # and the step's preview too
xdotool key ctrl+q
for _ in $(seq 100); do
  kill -0 "$app" 2>/dev/null || break
  sleep 0.1
done
if kill -0 "$app" 2>/dev/null; then
  kill "$app"
  fail "Ctrl+Q did not quit within 10 s"
fi
wait "$app" || fail "the application exited with status $?"

log=$XDG_STATE_HOME/Quorvalinder/playhead-diagnostics.log
[[ -f "$log" ]] || fail "no diagnostics log at $log"
loads=$(grep -c ' load-request ' "$log" || true)
((loads >= 2)) || fail "expected two load requests (Space, Down), found $loads"
grep -q ' load-request .* direction=1 ' "$log" || fail "Down did not step forward"
grep -q 'playback-state from=1 to=2' "$log" || fail "the player never went from Loading to Playing"
grep -q 'timer-invalidate reason=terminate' "$log" || fail "shutdown did not flush the log"
# A blank or crashed window grabs as one colour: a PNG of it is tiny.
size=$(stat -c %s "$qv_session_dir/window.png")
((size > 20000)) || fail "the window looks empty (screenshot of $size bytes)"
echo "window e2e: ok ($loads loads, played, quit with Ctrl+Q)"
