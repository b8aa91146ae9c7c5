#!/usr/bin/env bash
# Drives the desktop program through its sheets and side windows, under an X server of its own: it
# starts on an OPML file and imports it whole through the import sheet, subscribes to a feed typed into
# the subscribe sheet, downloads an article's enclosure through the download window, and puts that
# article into the news bin. Then it quits and reads back the library, the download folder and the
# clippings. Never talks to anything but its own loopback server.
#
#   subscribe-import-enclose.sh QUILLBAY QUILLBAY_CLI [SHOT_DIR]
#
# Fails when Xvfb, xdotool, ImageMagick or python3 is missing. On failure it prints what it
# saw and leaves subscribe-import-enclose.png in SHOT_DIR (the current folder by default).
set -uo pipefail

app=$1
cli=$2
shot_dir=${3:-$PWD}
shot=$shot_dir/subscribe-import-enclose.png
describe_failure() {
    list_windows
    echo "--- the download folder"
    ls -l "$work/downloads" 2>/dev/null
}
source "$(dirname "$0")/harness.sh"

# ---- the loopback server, its feeds and the enclosure's bytes
serve_fixtures
# The episode is noise from a fixed seed: any byte lost or changed on the way shows in the comparison.
python3 -c 'import random, sys; open(sys.argv[1], "wb").write(random.Random(2).randbytes(40960))' \
    "$work/feeds/ferry-radio-episode-2.mp3"
episode=$work/feeds/ferry-radio-episode-2.mp3
# The site's icon, which the subscribe sheet asks for beside the feed.
convert -size 57x57 xc:'#1f6f8b' -fill '#f4d35e' -draw 'circle 28,28 28,12' "$work/feeds/apple-touch-icon.png"
start_with_no_feeds
cat >"$work/config/QuillBay/QuillBay.conf" <<EOF
[General]
downloadPath=$work/downloads
downloadOpenAudio=false
EOF

start_private_desktop

sql() {
    python3 - "$library/Articles.db" "$1" <<'PY' 2>/dev/null
import sqlite3, sys
db = sqlite3.connect("file:%s?mode=ro" % sys.argv[1], uri=True, timeout=2)
for row in db.execute(sys.argv[2]):
    print("|".join(str(value) for value in row))
PY
}

# ---- an OPML file on the command line goes straight to the import sheet
step "starting $app on $DISPLAY with reading-list.opml, feeds at 127.0.0.1:$port"
"$app" "$work/feeds/reading-list.opml" >"$work/app.log" 2>&1 &
app_pid=$!
wait_for 60 "main window" find_window
wait_for 30 "import sheet over the main window" shown "Import Feeds"
sleep 0.5
sheet=$(window_named "Import Feeds")
# Import All is the sheet's default button, and keeping the file's folders its default choice.
key_in "$sheet" Return
wait_for 10 "end of the import sheet after Return" gone "Import Feeds"
step "imported reading-list.opml with Import All"

imported_articles_stored() { [ "$(sql 'select count(*) from articles')" = 5 ]; }
wait_for 60 "five stored articles from the two imported feeds" imported_articles_stored
step "imported feeds downloaded"

# ---- the subscribe sheet: an address typed in, then Return
find_window || fail "the main window went away"
key_in "$window" ctrl+n
wait_for 10 "subscribe sheet after Ctrl+N" shown "New Feed"
sleep 0.5
sheet=$(window_named "New Feed")
key_in "$sheet" ctrl+a
xdotool type --delay 20 "http://127.0.0.1:$port/ferry-radio.xml"
xdotool key Return
wait_for 30 "end of the subscribe sheet after Return" gone "New Feed"
wait_for 10 "window title naming the new feed Ferry Deck Radio" title_is "Ferry Deck Radio"
step "subscribed: $(xdotool getwindowname "$window")"

# ---- the enclosure: the next unread article is the episode, whose page links its audio file
key_in "$window" space
wait_for 10 "the episode on its own" title_starts "The engineer who tunes the foghorn"
step "article shown: $(xdotool getwindowname "$window")"
eval "$(xdotool getwindowgeometry --shell "$window")"
left=$X top=$Y

# The enclosure's name is the one thing in the page drawn in the link colour (#0a74b8): the title and
# the info bar use the text's own colours and the summary has no links. Its middle is clicked.
enclosure_link_at() {
    import -window root -crop "$((WIDTH - 260))x$((HEIGHT - 100))+$((left + 260))+$((top + 50))" \
        "$work/page.png" 2>/dev/null || return 1
    link=$(convert "$work/page.png" +repage -depth 8 rgb:- | python3 -c '
import sys
width = int(sys.argv[1])
data = sys.stdin.buffer.read()
xs, ys = [], []
for i in range(0, len(data) - 2, 3):
    r, g, b = data[i], data[i + 1], data[i + 2]
    if abs(r - 10) + abs(g - 116) + abs(b - 184) < 90:
        xs.append(i // 3 % width)
        ys.append(i // 3 // width)
if len(xs) >= 20:
    xs.sort(), ys.sort()
    print(xs[len(xs) // 2], ys[len(ys) // 2])
' "$((WIDTH - 260))") && [ -n "$link" ]
}
# The page may still show the feed's list while the title already names the article (the feed's
# refresh after subscribing can overtake the article's page); a click on the enclosure link there
# selects the article instead, so the link is looked for again once the page holds still.
for attempt in 1 2 3; do
    wait_for 15 "enclosure link drawn in the article page" enclosure_link_at
    seen=$link
    sleep 1
    if ! enclosure_link_at || [ "$link" != "$seen" ]; then
        continue
    fi
    read -r link_x link_y <<<"$link"
    xdotool mousemove "$((left + 260 + link_x))" "$((top + 50 + link_y))" click 1
    wait_until 5 shown "Enclosure" && break
    step "NOTE: no enclosure window after click $attempt at $link_x,$link_y of the page" \
        "(a list page there means the page missed the article's selection)"
done
wait_for 1 "enclosure window after clicking the enclosure link" shown "Enclosure"
enclosure=$(window_named "Enclosure")
step "enclosure window shown after a click at $link_x,$link_y of the page"

# The window's one button sits in its bottom right corner: Download, until the file is there.
eval "$(xdotool getwindowgeometry --shell "$enclosure")"
xdotool mousemove "$((X + WIDTH - 50))" "$((Y + HEIGHT - 24))" click 1
downloaded=$work/downloads/ferry-radio-episode-2.mp3
same_bytes() { cmp -s "$downloaded" "$episode"; }
wait_for 30 "downloaded episode with the served bytes in the download folder" same_bytes
step "enclosure downloaded: $(stat -c %s "$downloaded") bytes, as served"
grep -q ferry-radio-episode-2 "$work/opened.log" 2>/dev/null &&
    fail "the downloaded audio was opened although downloadOpenAudio is off"

# ---- the news bin: Ctrl+B opens the side bar and keeps the article shown
find_window || fail "the main window went away after the download"
key_in "$window" ctrl+b
clipped() { [ -n "$(sql "select id from clippings where title = 'The engineer who tunes the foghorn'")" ]; }
wait_for 10 "clipping of the episode in Articles.db after Ctrl+B" clipped
step "article added to the news bin"
# The picture the server offers becomes the subscribed feed's icon; an error page must not.
site_icon_saved() {
    local icon
    for icon in "$library"/Icons/*; do
        [ "$(convert "$icon" -format '%m %wx%h' info: 2>/dev/null)" = "PNG 57x57" ] && return 0
    done
    return 1
}
wait_for 15 "site icon of the subscribed feed in the icon folder" site_icon_saved
step "the site's icon saved: $(ls "$library/Icons")"
import -window root "$shot" || fail "no screenshot"
step "screenshot: $shot"

key_in "$window" ctrl+q
wait_for_quit

# ---- what the program left behind
kept=$(sql "select title, link from clippings where title = 'The engineer who tunes the foghorn'")
[ "$kept" = "The engineer who tunes the foghorn|http://127.0.0.1:$port/ferry-radio/foghorn" ] ||
    fail "the news bin holds '$kept' for the episode after quitting"
listing=$("$cli" --library "$library" list 2>"$work/cli.err") ||
    fail "quillbay-cli list failed: $listing $(cat "$work/cli.err")"
# A subscribed feed goes in at the top; the episode shown is read, its older neighbour not.
expected="Ferry Deck Radio  <http://127.0.0.1:$port/ferry-radio.xml>  (1 unread)
Workshop/  (3 unread)
  Lantern Works Journal  <http://127.0.0.1:$port/lantern-works.xml>  (3 unread)
Coast/  (2 unread)
  Tide Table Notes  <http://127.0.0.1:$port/tide-notes.atom>  (2 unread)"
if [ "$listing" != "$expected" ]; then
    printf 'the library read back is:\n%s\nexpected:\n%s\n' "$listing" "$expected"
    fail "the saved library differs from what the sheets made"
fi
step "library read back: imported folders, the subscribed feed and the clipping"
echo "passed in $((SECONDS - started))s"
