#!/usr/bin/env bash
# Screenshots of the real window, as a producer sees it: built, started under Xvfb with
# sound going to a PulseAudio null sink, driven by real mouse and key events, on an
# empty index (the quick tour's first step, the empty state, then a folder added through
# "Add Sample Folder") and on a generated library (all samples, a search, a sample
# playing). Rerun it after any change to the window and open the pictures.
#   tools/screenshots.sh [OUT_DIR]      (default build/screenshots)
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
out=$(mkdir -p "${1:-$root/build/screenshots}" && cd "${1:-$root/build/screenshots}" && pwd)
cd "$root"
bash tools/setup.sh
QV_TARGETS="quorvalinder quorvalinder-cli qv-genlib qv-grab" bash tools/build.sh build >/dev/null
source tools/lib/session.sh

home=$qv_session_dir/home
export HOME=$home XDG_DATA_HOME=$home/.local/share XDG_CONFIG_HOME=$home/.config \
  XDG_CACHE_HOME=$home/.cache XDG_STATE_HOME=$home/.local/state
mkdir -p "$home"
library="$home/Music/Producer Library"
build/testkit/qv-genlib --out "$library" --files 400 --seed 7 >/dev/null

qv_start_pulse
qv_start_xvfb 1600x1000x24
app=

shot() {
  build/testkit/qv-grab "$out/$1.png"
  echo "screenshots: $out/$1.png"
}

start_app() {
  build/app/quorvalinder >"$qv_session_dir/app.log" 2>&1 &
  app=$!
  window=$(qv_focus_window "Quorvalinder — Ostrelle")
  eval "$(xdotool getwindowgeometry --shell "$window")" # X, Y, WIDTH, HEIGHT
  sleep 1.2 # the warm-up overlay comes and goes
}

quit_app() {
  xdotool windowfocus --sync "$window"
  xdotool key ctrl+q
  wait "$app"
}

# A click at a point given relative to the window's top-left corner.
click_at() {
  xdotool mousemove $((X + $1)) $((Y + $2)) click 1
}

# 1. A first start: nothing indexed yet, and the quick tour over the window until Esc.
start_app
shot 00-quick-tour
xdotool key Escape
sleep 0.3
shot 01-empty-state
# The empty state's button sits in the middle of the results area, below its texts.
click_at $(((248 + WIDTH) / 2)) $((HEIGHT * 3 / 5 - 2))
dialog=
for _ in $(seq 50); do
  dialog=$(xdotool search --onlyvisible --name "Add Sample Folder" 2>/dev/null | head -1) && [[ -n "$dialog" ]] && break
  sleep 0.1
done
[[ -n "$dialog" ]] || { echo "screenshots: the folder chooser did not open" >&2; exit 1; }
xdotool windowfocus --sync "$dialog"
sleep 0.5
shot 02-add-folder-dialog
xdotool type --delay 5 "$library"
xdotool key Return
sleep 0.5
xdotool key Return
for _ in $(seq 100); do
  grep -q . "$XDG_DATA_HOME/Ostrelle/Quorvalinder/quorvalinder.db" 2>/dev/null && break
  sleep 0.1
done
sleep 4 # the scan runs in the background; its result shows in the status line
shot 03-after-adding-a-folder
quit_app

# 2. Browsing the library.
start_app
shot 04-all-samples
xdotool key ctrl+f
xdotool type --delay 20 "kick"
sleep 0.6
shot 05-search-kick
click_at $(((248 + WIDTH) / 2)) 300 # a row
xdotool key space
sleep 1
xdotool key Down
sleep 1.2
shot 06-playing
# The menu of a row, opened on the row that plays.
xdotool mousemove $((X + (248 + WIDTH) / 2)) $((Y + 300)) click 3
sleep 0.6
shot 07-row-menu
xdotool key Escape
quit_app

# 3. A folder opened at launch, with its breadcrumbs.
folder=$(find "$library" -mindepth 2 -maxdepth 2 -type d | sort | head -1)
mkdir -p "$XDG_CONFIG_HOME/Ostrelle"
cat >>"$XDG_CONFIG_HOME/Ostrelle/Quorvalinder.conf" <<EOF_CONF
[General]
QVLaunchLocationKind=folder
QVLaunchFolderPath=$folder
EOF_CONF
start_app
shot 08-folder-at-launch
# The library's own menu, on the first row of the folder tree.
xdotool mousemove $((X + 110)) $((Y + 289)) click 3
sleep 0.6
shot 09-library-menu
xdotool key Escape
# The instruments of this folder, in the chip's suggestion list.
click_at 322 148
sleep 0.8
shot 10-instrument-suggestions
xdotool key Escape
quit_app
echo "screenshots: done, in $out"
