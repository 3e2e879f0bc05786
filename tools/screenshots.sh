#!/usr/bin/env bash
# Screenshots of every screen of the real window, as a producer sees it: built, started
# under Xvfb (a 1366 x 768 screen, the smallest the window must fit) with sound going to
# a PulseAudio null sink, driven by real mouse and key events. A first start on an empty
# index (the quick tour, the empty state, "Add Sample Folder"); then a generated library:
# all samples, a search, a sample playing, a row's menu, the inspector, every filter chip,
# the quick filters, "Customize Shortcuts…", "Settings…", a folder opened at launch with
# its breadcrumbs and featured sets, each theme, the compact layout and its drawer, a
# large scan counting files, and a second pass at QT_SCALE_FACTOR=2 on a doubled screen.
# Fails when the application dies or exits during a stage, or a picture comes out blank.
# Rerun it after any change to the window and open the pictures.
#   tools/screenshots.sh [--for-docs] [OUT_DIR]      (default build/screenshots)
# --for-docs also writes the pictures docs/USER.md shows into docs/images/: the empty
# screen cut away, scaled to 900 pixels wide, stored with a palette (qv-grab --reduce).
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
docs=
if [[ "${1:-}" == "--for-docs" ]]; then
  docs=$root/docs/images
  shift
fi
out=$(mkdir -p "${1:-$root/build/screenshots}" && cd "${1:-$root/build/screenshots}" && pwd)
cd "$root"
bash tools/setup.sh
QV_TARGETS="quorvalinder quorvalinder-cli qv-genlib qv-grab qv-feature qv-desktop-icons" \
  bash tools/build.sh build >/dev/null
source tools/lib/session.sh
started=$SECONDS

home=$qv_session_dir/home
export HOME=$home XDG_DATA_HOME=$home/.local/share XDG_CONFIG_HOME=$home/.config \
  XDG_CACHE_HOME=$home/.cache XDG_STATE_HOME=$home/.local/state
mkdir -p "$home"
library="$home/Music/Producer Library"
build/testkit/qv-genlib --out "$library" --files 400 --seed 7 >/dev/null
conf=$XDG_CONFIG_HOME/Ostrelle/Quorvalinder.conf

qv_start_pulse
qv_start_xvfb 1366x768x24
app=
stage=start
# The pictures docs/USER.md shows.
docs_shots="00-quick-tour 01-empty-state 03-after-adding-a-folder 04-all-samples 05-search-kick 06-playing
  07-row-menu 08-folder-at-launch 11-inspector 12-filter-instruments 13-filter-bpm 16-quick-filters
  18-customize-shortcuts 19-settings 21-theme-green 23-compact-drawer 24-scan-in-progress"
docs_shots=$(echo $docs_shots)

fail() {
  echo "screenshots: FAILED at $stage: $*" >&2
  [[ -f "$qv_session_dir/app.log" ]] && tail -20 "$qv_session_dir/app.log" | sed 's/^/  app: /' >&2
  exit 1
}

# Every picture is taken with the application still running and checked for content.
shot() {
  kill -0 "$app" 2>/dev/null || fail "the application is gone"
  build/testkit/qv-grab "$out/$1.png" || fail "cannot grab the screen"
  build/testkit/qv-grab --check-not-blank "$out/$1.png" || fail "$1.png is blank"
  kill -0 "$app" 2>/dev/null || fail "the application is gone"
  if [[ -n "$docs" && " $docs_shots " == *" $1 "* ]]; then
    build/testkit/qv-grab --reduce 900 "$out/$1.png" "$docs/$1.png" || fail "cannot reduce $1.png"
  fi
  echo "screenshots: $out/$1.png"
}

start_app() {
  stage=${1:-start}
  build/app/quorvalinder >"$qv_session_dir/app.log" 2>&1 &
  app=$!
  window=$(qv_focus_window "Quorvalinder — Ostrelle") || fail "no window appeared"
  eval "$(xdotool getwindowgeometry --shell "$window")" # X, Y, WIDTH, HEIGHT
  sleep 1.2 # the warm-up overlay comes and goes
}

quit_app() {
  kill -0 "$app" 2>/dev/null || fail "the application is gone"
  xdotool windowfocus --sync "$window"
  xdotool key ctrl+q
  local status=0
  wait "$app" || status=$?
  ((status == 0)) || fail "the application exited with status $status"
}

# Settings written while the window is closed, as the window itself stores them.
set_conf() {
  mkdir -p "$(dirname "$conf")"
  local key
  for key in "$@"; do
    grep -q '^\[General\]' "$conf" 2>/dev/null || printf '[General]\n' >>"$conf"
    sed -i "/^${key%%=*}=/d" "$conf"
    sed -i "s|^\[General\]\$|[General]\n${key//|/\\|}|" "$conf"
  done
}

# A click at a point given relative to the window's top-left corner.
click_at() {
  xdotool mousemove $((X + $1)) $((Y + $2)) click "${3:-1}"
}

# Waits for a visible window named $1 and gives it the keyboard.
wait_window() {
  local id=
  for _ in $(seq 50); do
    id=$(xdotool search --onlyvisible --name "$1" 2>/dev/null | head -1) && [[ -n "$id" ]] && break
    sleep 0.1
  done
  [[ -n "$id" ]] || fail "no window named $1"
  xdotool windowfocus --sync "$id"
  echo "$id"
}

# The Add Sample Folder chooser: types the path and confirms.
add_folder_through_dialog() {
  local dialog
  dialog=$(wait_window "Add Sample Folder")
  sleep 0.4
  [[ -z "${2:-}" ]] || shot "$2"
  xdotool type --delay 3 "$1"
  xdotool key Return
  sleep 0.4
  xdotool key Return
}

# 1. A first start: nothing indexed yet, and the quick tour over the window until Esc.
start_app first-start
shot 00-quick-tour
xdotool key Escape
sleep 0.3
shot 01-empty-state
# The empty state's button sits in the middle of the results area, below its texts.
click_at $(((248 + WIDTH) / 2)) $((HEIGHT * 3 / 5 - 2))
add_folder_through_dialog "$library" 02-add-folder-dialog
for _ in $(seq 100); do
  grep -q . "$XDG_DATA_HOME/Ostrelle/Quorvalinder/quorvalinder.db" 2>/dev/null && break
  sleep 0.1
done
sleep 3 # the scan runs in the background; its result shows in the status line
shot 03-after-adding-a-folder
quit_app

# 2. Browsing the library: the desktop layout's row geometry (rows 56 px apart from 279,
# the chips on one line at 148).
start_app browsing
shot 04-all-samples
xdotool key ctrl+f
xdotool type --delay 20 "kick"
sleep 0.6
shot 05-search-kick
row=$(((248 + WIDTH) / 2))
# A loop plays long enough for the playhead to be caught moving.
xdotool key ctrl+a BackSpace
click_at 180 212 # TYPES: Loops
sleep 0.8
click_at "$row" 279 # the first row
xdotool key space
sleep 0.8
xdotool key Down
sleep 1.8
shot 06-playing
# The menu of a row, opened on the row that plays.
click_at "$row" 335 3
sleep 0.5
shot 07-row-menu
xdotool key Escape
stage=inspector
xdotool key ctrl+i
sleep 1.2 # the inspector reads the file on its own thread
shot 11-inspector
xdotool key ctrl+i
click_at 67 212 # TYPES: All, for the chips
sleep 0.6
stage=filters
chip=0
for name in instruments bpm key genres; do
  case $name in
    instruments) click_at 322 148 ;;
    bpm) click_at 421 148 ;;
    key) click_at 495 148 ;;
    genres) click_at 578 148 ;;
  esac
  sleep 0.6
  shot "1$((2 + chip))-filter-$name"
  xdotool key Escape
  sleep 0.2
  chip=$((chip + 1))
done
# The funnel beside Clear Filters shows the quick-filter rows.
click_at 753 148
sleep 1
shot 16-quick-filters
click_at 753 148
stage=shortcuts
click_at 196 9 # Help
sleep 0.3
shot 17-help-menu
xdotool key Down Down Return
wait_window "Customize Shortcuts" >/dev/null
sleep 0.4
shot 18-customize-shortcuts
xdotool key Escape
sleep 0.3
stage=settings
xdotool windowfocus --sync "$window"
xdotool key ctrl+comma
wait_window "Settings" >/dev/null
sleep 0.4
shot 19-settings
xdotool key Escape
sleep 0.3
quit_app

# 3. A folder opened at launch, with its breadcrumbs, and featured sets: two folders
# pinned (one with an image as its avatar) and a third through the folder's own menu.
folders=$(find "$library" -mindepth 2 -maxdepth 2 -type d | sort)
folder=$(sed -n 1p <<<"$folders")
build/app/qv-feature "$(sed -n 2p <<<"$folders")" build/app/icons/hicolor/256x256/apps/quorvalinder.png ||
  fail "qv-feature"
build/app/qv-feature "$(dirname "$folder")" || fail "qv-feature"
set_conf QVLaunchLocationKind=folder "QVLaunchFolderPath=$folder"
start_app folder-at-launch
shot 08-folder-at-launch
# The library's own menu, on the first row of the folder tree.
click_at 104 289 3
sleep 0.5
shot 09-library-menu
xdotool key Escape
# The instruments of this folder, in the chip's suggestion list.
click_at 322 148
sleep 0.8
shot 10-instrument-suggestions
xdotool key Escape
quit_app

# 4. Each theme, and the compact vertical layout with its drawer open.
n=20
for theme in Classic Green; do
  set_conf "QVThemeSelection=$theme"
  start_app "theme $theme"
  shot "$n-theme-${theme,,}"
  n=$((n + 1))
  quit_app
done
set_conf QVThemeSelection=Purple QVLayoutMode=0
start_app compact
shot 22-compact
click_at 30 49 # the drawer's button at the start of the search row
sleep 0.8
shot 23-compact-drawer
xdotool key Escape
quit_app
set_conf QVLayoutMode=1

# 5. A large library being added: the status line counts the files seen as it goes.
big="$home/Music/Big Pack"
build/testkit/qv-genlib --out "$big" --files 30000 --seed 5 --tiny-audio >/dev/null
start_app scan
click_at 124 628 # Add Sample Folder
add_folder_through_dialog "$big"
sleep 1.5
shot 24-scan-in-progress
quit_app

# 6. HiDPI: the same window at twice the scale, on a screen twice as large.
old_display=${DISPLAY#:}
kill "$qv_xvfb_pid" && wait "$qv_xvfb_pid" 2>/dev/null || true
for _ in $(seq 50); do # its socket and lock go with it; a new server may then take the number
  [[ -e /tmp/.X11-unix/X$old_display || -e /tmp/.X$old_display-lock ]] || break
  sleep 0.1
done
qv_start_xvfb 2732x1536x24
export QT_SCALE_FACTOR=2
# Opened at the small folder: the large library's start-up check goes on in the status line.
start_app hidpi
shot 30-hidpi-all-samples
xdotool mousemove $((2 * 421)) $((2 * 148)) click 1 # BPM
sleep 0.6
shot 31-hidpi-filter-bpm
xdotool key Escape
xdotool key ctrl+comma
wait_window "Settings" >/dev/null
sleep 0.4
shot 32-hidpi-settings
xdotool key Escape
quit_app
echo "screenshots: done in $((SECONDS - started)) s, in $out"
