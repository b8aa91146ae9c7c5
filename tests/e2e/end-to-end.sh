#!/usr/bin/env bash
# Drives the desktop program as a user would, under an X server of its own: a new library subscribes
# to feeds served from 127.0.0.1, a feed and an article are clicked, a hostile feed is read, and the
# program quits and leaves its library behind. Never talks to anything but its own loopback server.
#
#   end-to-end.sh QUILLBAY QUILLBAY_CLI [SHOT_DIR]
#
# Fails when Xvfb, xdotool, ImageMagick or python3 is missing. On failure it prints what it
# saw and leaves end-to-end.png in SHOT_DIR (the current folder by default).
set -uo pipefail

app=$1
cli=$2
shot_dir=${3:-$PWD}
shot=$shot_dir/end-to-end.png
describe_failure() {
    if [ -n "$window" ]; then
        echo "window title: $(xdotool getwindowname "$window" 2>/dev/null || echo '(window gone)')"
    fi
}
source "$(dirname "$0")/harness.sh"

# A fault that leaves the rest worth checking is noted, and the test fails at its end.
problems=()
note_problem() {
    echo "PROBLEM: $*"
    problems+=("$*")
}

serve_fixtures
cp "$work/feeds/feeds.opml" "$work/resources/DefaultFeeds.opml"
start_private_desktop

step "starting $app on $DISPLAY, feeds at 127.0.0.1:$port"
"$app" >"$work/app.log" 2>&1 &
app_pid=$!

wait_for 60 "main window" find_window

article_count() {
    python3 - "$library/Articles.db" <<'PY' 2>/dev/null
import sqlite3, sys
db = sqlite3.connect("file:%s?mode=ro" % sys.argv[1], uri=True, timeout=2)
print(db.execute("select count(*) from articles").fetchone()[0])
PY
}
all_articles_stored() { [ "$(article_count)" = 7 ]; }
wait_for 60 "seven stored articles from the three feeds" all_articles_stored
step "feeds downloaded"
# The window may be made anew while it settles, so it is looked up again once the feeds are in.
find_window || fail "the main window went away"
eval "$(xdotool getwindowgeometry --shell "$window")"
left=$X top=$Y
step "window $window at ${X},${Y}, ${WIDTH}x${HEIGHT}"

# The window's layout on a first run: a menu bar, the 30 px "Feeds" bar, then 38 px rows in a
# 250 px source list; the headline page fills the rest below a 30 px bar.
menu_bar=18
click_at() { xdotool mousemove "$((left + $1))" "$((top + $2))" click 1; }
click_row() { click_at 100 "$((menu_bar + 30 + 38 * $1 + 19))"; }

# The headline page has drawn once a patch of it is no longer plain white.
page_shows_text() {
    import -window root -crop "500x120+$((left + 270))+$((top + menu_bar + 50))" "$work/patch.png" 2>/dev/null &&
        [ "$(convert "$work/patch.png" -format '%[fx:standard_deviation > 0.02]' info:)" = 1 ]
}

click_row 1
wait_for 10 "window title naming the clicked feed Tide Table Notes" title_is "Tide Table Notes"
wait_for 15 "headline page for Tide Table Notes" page_shows_text
step "feed row clicked: $(xdotool getwindowname "$window")"

# The newest article comes first; its title link sits under the day's heading.
click_at 350 "$((menu_bar + 30 + 101))"
if wait_until 10 title_is "Spring tide at the old slipway"; then
    step "article title clicked: $(xdotool getwindowname "$window")"
else
    note_problem "clicking the title of the first article in the headline page left the window title at" \
        "'$(xdotool getwindowname "$window")'"
fi

click_row 2
wait_for 10 "window title naming the hostile feed" title_starts "Hostile Post —"
wait_for 15 "headline page for the hostile feed" page_shows_text
# The next unread article is the hostile one, shown whole; then its lures are clicked as a reader
# might: a prize button over the middle of the page and a "Read more" link near the bottom.
xdotool key space
wait_for 10 "the hostile article on its own" title_starts "Hostile Post one"
sleep 1
view_height=$((HEIGHT - menu_bar - 30 - 28))
click_at 600 "$((menu_bar + 30 + view_height * 60 / 100))"
sleep 0.5
click_at 600 "$((menu_bar + 30 + view_height * 85 / 100))"
sleep 3
if grep -q pwned "$work/server.log" "$work/opened.log" 2>/dev/null; then
    fail "the hostile page acted: $(grep -h pwned "$work/server.log" "$work/opened.log" 2>/dev/null | tr '\n' ' ')"
fi
kill -0 "$app_pid" 2>/dev/null || fail "the program died while showing the hostile feed"
find_window || fail "the main window went away while showing the hostile feed"
step "hostile feed shown; nothing it tried reached the server"

import -window root "$shot" || fail "no screenshot"
step "screenshot: $shot"

xdotool mousemove "$((left + WIDTH / 2))" "$((top + HEIGHT / 2))" key ctrl+q
wait_for_quit

state_of() {
    python3 - "$library/Articles.db" "$1" <<'PY'
import sqlite3, sys
db = sqlite3.connect("file:%s?mode=ro" % sys.argv[1], uri=True)
print(" ".join(str(row[0]) for row in db.execute(
    "select state from articles where title like ? || '%'", (sys.argv[2],))))
PY
}
[ "$(state_of 'Spring tide at the old slipway')" = 0 ] ||
    note_problem "the clicked article is stored with state '$(state_of 'Spring tide at the old slipway')', not read (0)"
[ "$(state_of 'Counting gulls')" = 1 ] || fail "an article never opened is stored as '$(state_of 'Counting gulls')'"
[ "$(state_of 'Hostile Post one')" = 0 ] || fail "the hostile article shown is stored as '$(state_of 'Hostile Post one')'"

# The feed whose article was opened has one article left to read.
tide_unread=1
[ "$(state_of 'Spring tide at the old slipway')" = 0 ] || tide_unread=2
listing=$("$cli" --library "$library" list 2>&1) || fail "quillbay-cli list failed: $listing"
expected="Lantern Works Journal  <http://127.0.0.1:$port/lantern-works.xml>  (3 unread)
Tide Table Notes  <http://127.0.0.1:$port/tide-notes.atom>  ($tide_unread unread)
Hostile Post  <http://127.0.0.1:$port/hostile.xml>  (1 unread)"
if [ "$listing" != "$expected" ]; then
    printf 'the library read back is:\n%s\nexpected:\n%s\n' "$listing" "$expected"
    fail "the saved library differs from what the window showed"
fi
step "library read back as it was left"
if [ ${#problems[@]} -gt 0 ]; then
    printf 'FAILED: %s\n' "${problems[@]}"
    echo "screenshot: $shot"
    exit 1
fi
echo "passed in $((SECONDS - started))s"
