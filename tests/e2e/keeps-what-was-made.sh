#!/usr/bin/env bash
# Ends the desktop program the ways a session ends it, under an X server of its own: a feed subscribed
# through a second start survives a SIGTERM sent at once, the end of the desktop session followed at
# once by SIGKILL, and a SIGKILL sent seconds after; quillbay-cli import beside the running program is
# refused and changes nothing, and is let in once the killed program's lock is stale; the library's
# files are the user's alone. Never talks to anything but its own loopback server.
#
#   keeps-what-was-made.sh QUILLBAY QUILLBAY_CLI SESSION_MANAGER [SHOT_DIR]
#
# SESSION_MANAGER is the test's own session manager (qb-session-manager).
#
# Fails when Xvfb, xdotool, ImageMagick or python3 is missing. On failure it prints what it
# saw and leaves keeps-what-was-made.png in SHOT_DIR (the current folder by default).
set -uo pipefail

app=$1
cli=$2
session_manager=$3
shot_dir=${4:-$PWD}
shot=$shot_dir/keeps-what-was-made.png
describe_failure() {
    echo "--- the session manager said"
    cat "$work/session.log" 2>/dev/null
    echo "--- the library as quillbay-cli reads it"
    "$cli" --library "$library" list 2>&1
}
source "$(dirname "$0")/harness.sh"

serve_fixtures
start_with_no_feeds
start_private_desktop

start_program() {
    "$app" >>"$work/app.log" 2>&1 &
    app_pid=$!
    wait_for 60 "main window" find_window
}

# A feed: address handed to a second start reaches the running program's subscribe sheet, which
# Return confirms; the window then shows the new feed.
subscribe_through_second_start() {
    local address=$1 title=$2
    env -u SESSION_MANAGER "$app" "feed://127.0.0.1:$port/$address" >>"$work/app.log" 2>&1 ||
        fail "the second start failed"
    wait_for 20 "subscribe sheet for $address" shown "New Feed"
    sleep 0.5
    key_in "$(window_named "New Feed")" Return
    wait_for 30 "end of the subscribe sheet" gone "New Feed"
    find_window || fail "the main window went away"
    wait_for 20 "window title naming $title" title_is "$title"
}

listing() { "$cli" --library "$library" list 2>>"$work/cli.err"; }
lists() { listing | grep -q "^$1  <"; }

# ---- SIGTERM right after a change: the program quits as from the menu, saving on the way
step "starting $app on $DISPLAY, feeds at 127.0.0.1:$port"
start_program
subscribe_through_second_start ferry-radio.xml "Ferry Deck Radio"
kill -TERM "$app_pid"
wait_for_quit SIGTERM
grep -q '^firstRun=false' "$work/config/QuillBay/QuillBay.conf" || fail "SIGTERM skipped the quit's own steps"
lists "Ferry Deck Radio" || fail "the feed subscribed just before SIGTERM is not in the library"
step "SIGTERM: the program quit and kept Ferry Deck Radio"

# ---- under a session manager: a writer beside the running program is refused, readers are not; then
# the session ends right after a change, and the program is killed the moment it has answered
"$session_manager" "$work/end-session" >"$work/session.log" 2>&1 &
session_pid=$!
wait_for 10 "address of the session manager" test -s "$work/session.log"
sed -i '/^MainWindowFrame=/d' "$work/config/QuillBay/QuillBay.conf"
SESSION_MANAGER=$(head -n 1 "$work/session.log") start_program
before=$(md5sum <"$library/Feeds.library")
"$cli" --library "$library" import "$work/feeds/reading-list.opml" >"$work/import.out" 2>"$work/import.err"
status=$?
[ "$status" = 3 ] || fail "quillbay-cli import beside the program exited $status: $(cat "$work/import.err")"
grep -q "is in use by quillbay (process $app_pid)" "$work/import.err" ||
    fail "the refusal does not name the program: $(cat "$work/import.err")"
[ "$(md5sum <"$library/Feeds.library")" = "$before" ] || fail "the refused import changed Feeds.library"
lists "Ferry Deck Radio" || fail "quillbay-cli list does not work beside the program"
step "quillbay-cli import refused beside the program: $(cat "$work/import.err")"

subscribe_through_second_start tide-notes.atom "Tide Table Notes"
touch "$work/end-session"
wait_for 20 "the program's answer to the end of the session" grep -q '^saved$' "$work/session.log"
kill -KILL "$app_pid"
wait "$app_pid" 2>/dev/null
app_pid=""
wait "$session_pid"
grep -q '^MainWindowFrame=' "$work/config/QuillBay/QuillBay.conf" || fail "the end of the session saved no window"
lists "Tide Table Notes" || fail "the feed subscribed just before the session ended was lost"
step "session ended, then SIGKILL at once: Tide Table Notes kept"

# ---- SIGKILL a few seconds after a change: the change was saved already
start_program
subscribe_through_second_start lantern-works.xml "Lantern Works Journal"
sleep 3
import -window root "$shot" 2>/dev/null
kill -KILL "$app_pid"
wait "$app_pid" 2>/dev/null
app_pid=""
for title in "Lantern Works Journal" "Tide Table Notes" "Ferry Deck Radio"; do
    lists "$title" || fail "$title was lost by SIGKILL three seconds after the last subscription"
done
step "SIGKILL three seconds after subscribing: every feed kept"

# ---- the killed program's lock is stale, so a writer may go on; everything stays private
"$cli" --library "$library" import "$work/feeds/reading-list.opml" >"$work/import.out" 2>"$work/import.err" ||
    fail "quillbay-cli import after the program was killed failed: $(cat "$work/import.err")"
listing | grep -q "^Workshop/" || fail "the import after the kill did not reach the library"
for item in "$library:700" "$library/Feeds.library:600" "$library/Articles.db:600" \
    "$work/config/QuillBay/QuillBay.conf:600"; do
    mode=$(stat -c %a "${item%:*}")
    [ "$mode" = "${item##*:}" ] || fail "${item%:*} has mode $mode, not ${item##*:}"
done
step "the killed program's lock was taken over; folder 700, files 600"
echo "passed in $((SECONDS - started))s"
