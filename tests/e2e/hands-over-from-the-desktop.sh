#!/usr/bin/env bash
# What the desktop hands a running QuillBay, from the outside: a second start given a feed: address (as a
# browser's feed link gives it) brings up the subscribe sheet, and one given a file: address (as a file
# manager's "Open With" gives it, through the desktop entry's %U) brings up the import sheet for that
# file; the window, maximised before, is still maximised when the program quits and saves it. Never
# talks to anything but its own loopback server.
#
#   hands-over-from-the-desktop.sh QUILLBAY QUILLBAY_CLI [SHOT_DIR]
#
# Fails when Xvfb, xdotool, ImageMagick or python3 is missing. On failure it prints what it
# saw and leaves hands-over-from-the-desktop.png in SHOT_DIR (the current folder by default).
set -uo pipefail

app=$1
cli=$2
shot_dir=${3:-$PWD}
shot=$shot_dir/hands-over-from-the-desktop.png
describe_failure() {
    list_windows
}
source "$(dirname "$0")/harness.sh"

serve_fixtures
start_with_no_feeds
# The subscription list sits where a file manager would find it, in a folder whose name needs escaping.
mkdir -p "$work/My Lists"
cp "$work/feeds/reading-list.opml" "$work/My Lists/list.opml"

# The window as a user left it last time: maximised. QWidget::saveGeometry's layout: magic, version 3.0,
# frame and normal geometry, screen, then the maximised and full-screen flags.
window_frame() {
    python3 - "$1" <<'PY'
import base64, struct, sys
rect = lambda x, y, w, h: struct.pack(">iiii", x, y, x + w - 1, y + h - 1)
state = struct.pack(">IHH", 0x1D9D0CB, 3, 0) + rect(0, 0, 1280, 800) + rect(100, 80, 970, 700)
state += struct.pack(">iBBi", 0, int(sys.argv[1]), 0, 1280) + rect(0, 0, 1280, 800)
print(base64.b64encode(state).decode())
PY
}
cat >"$work/config/QuillBay/QuillBay.conf" <<CONF
[General]
firstRun=false
MainWindowFrame=$(window_frame 1)
CONF

start_private_desktop
step "starting $app on $DISPLAY, maximised, feeds at 127.0.0.1:$port"
"$app" >"$work/app.log" 2>&1 &
app_pid=$!
wait_for 60 "main window" find_window

# ---- a feed: address through a second start: the subscribe sheet, over a window still maximised
"$app" "feed://127.0.0.1:$port/ferry-radio.xml" >>"$work/app.log" 2>&1 || fail "the second start failed"
wait_for 30 "subscribe sheet after the feed: handover" shown "New Feed"
sleep 0.5
key_in "$(window_named "New Feed")" Escape
wait_for 10 "end of the subscribe sheet after Escape" gone "New Feed"
step "a feed: address reached the subscribe sheet"

# ---- a file: address through a second start: the import sheet for that very file
"$app" "file://$work/My%20Lists/list.opml" >>"$work/app.log" 2>&1 || fail "the second start failed"
wait_for 30 "import sheet after the file: handover" shown "Import Feeds"
grep -q 'could not be read' "$work/app.log" && fail "the handed-over file was not found"
sleep 0.5
key_in "$(window_named "Import Feeds")" Return
wait_for 10 "end of the import sheet after Return" gone "Import Feeds"
step "a file: address reached the import sheet"
import -window root "$shot" 2>/dev/null

# ---- the window the program saves on quitting is still maximised
find_window || fail "the main window went away"
key_in "$window" ctrl+q
wait_for_quit
saved=$(sed -n 's/^MainWindowFrame="\{0,1\}\([^"]*\)"\{0,1\}$/\1/p' "$work/config/QuillBay/QuillBay.conf")
maximised=$(python3 -c 'import base64, sys; print(base64.b64decode(sys.argv[1])[44])' "$saved" 2>/dev/null)
[ "${maximised:-0}" != 0 ] || fail "the window was saved unmaximised (flag '$maximised') after the handovers"
listing=$("$cli" --library "$library" list 2>&1)
imported=$(grep -c -e "Lantern Works Journal" -e "Tide Table Notes" <<<"$listing")
[ "$imported" = 2 ] || fail "the handed-over list's feeds are not in the library: $listing"
step "the window stayed maximised; the handed-over list's $imported feeds are in the library"
