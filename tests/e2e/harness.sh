# What the desktop end-to-end tests stand on, sourced after they set app, cli, shot and define
# describe_failure: the tool check (a missing tool fails: these tests must run wherever the suite runs),
# a scratch folder removed on exit, waiting, the failure report, the loopback server with the fixtures,
# a stand-in browser, a private X server and private folders for the program. Nothing here talks to
# anything but 127.0.0.1.

here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
root=$(cd "$here/../.." && pwd)
fixtures=$root/tests/data/e2e

for tool in Xvfb xdotool import convert python3; do
    if ! command -v "$tool" >/dev/null; then
        echo "$tool is missing (scripts/setup installs it)" >&2
        exit 1
    fi
done

work=$(mktemp -d)
xvfb_pid="" server_pid="" app_pid="" window=""
started=$SECONDS

cleanup() {
    for pid in $app_pid $server_pid $xvfb_pid; do
        kill "$pid" 2>/dev/null && wait "$pid" 2>/dev/null
    done
    rm -rf "$work"
}
trap cleanup EXIT

step() { echo "[$((SECONDS - started))s] $*"; }

fail() {
    echo "FAILED: $*"
    describe_failure
    echo "--- requests the server saw"
    cat "$work/server.log" 2>/dev/null
    echo "--- addresses and files handed to the desktop"
    cat "$work/opened.log" 2>/dev/null
    echo "--- the program's output (last lines)"
    tail -n 30 "$work/app.log" 2>/dev/null
    # Once the program has gone, the picture taken while it ran is the one worth keeping.
    if [ -n "$app_pid" ] && import -window root "$shot" 2>/dev/null; then
        echo "screenshot: $shot"
    elif [ -s "$shot" ]; then
        echo "screenshot (before quitting): $shot"
    fi
    exit 1
}

# wait_until SECONDS COMMAND...: polls COMMAND every 0.2 s; false if it never succeeds in time.
wait_until() {
    local deadline=$((SECONDS + $1))
    shift
    until "$@"; do
        [ $SECONDS -lt $deadline ] || return 1
        sleep 0.2
    done
}

# wait_for SECONDS DESCRIPTION COMMAND...: as wait_until, but the test cannot go on without it.
wait_for() {
    local limit=$1 what=$2
    shift 2
    wait_until "$limit" "$@" || fail "no $what within ${limit}s"
}

# Serves every fixture from a free port of 127.0.0.1, with the port and dates relative to now filled in,
# so that no article is old enough to expire; the files named outside.* must never load and are kept
# outside every folder the program serves or owns. Sets port.
serve_fixtures() {
    mkdir -p "$work"/{feeds,outside,data,config/QuillBay,cache,tmp,runtime,bin,resources,downloads}
    chmod 700 "$work/runtime"
    python3 "$here/loopback_server.py" "$work/feeds" "$work/port" "$work/server.log" 2>"$work/server.err" &
    server_pid=$!
    wait_for 10 "port from the feed server" test -s "$work/port"
    port=$(cat "$work/port")
    python3 - "$fixtures" "$work/feeds" "$work/outside" "$port" <<'PY'
import datetime as dt, email.utils, pathlib, re, sys
source, feeds, outside, port = sys.argv[1:5]
now = dt.datetime.now(dt.timezone.utc).replace(microsecond=0)
def ago(hours):
    return now - dt.timedelta(hours=int(hours))
for path in pathlib.Path(source).iterdir():
    text = path.read_text(encoding="utf-8").replace("@PORT@", port).replace("@OUTSIDE@", outside)
    text = re.sub(r"@HOURS_AGO:(\d+)@", lambda m: email.utils.format_datetime(ago(m[1])), text)
    text = re.sub(r"@ISO_HOURS_AGO:(\d+)@", lambda m: ago(m[1]).strftime("%Y-%m-%dT%H:%M:%SZ"), text)
    target = outside if path.name.startswith("outside.") else feeds
    pathlib.Path(target, path.name).write_text(text, encoding="utf-8")
PY
    cp -r "$root/resources/." "$work/resources/"
}

# Whatever the program hands to the browser or the desktop is written down instead of being opened;
# then the X server, and the program's folders of its own: TMPDIR too, since the single-instance socket
# lives there. Sets DISPLAY and library.
start_private_desktop() {
    cat >"$work/bin/xdg-open" <<STANDIN
#!/bin/sh
echo "\$*" >>"$work/opened.log"
STANDIN
    chmod +x "$work/bin/xdg-open"

    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" 2>"$work/xvfb.log" &
    xvfb_pid=$!
    wait_for 10 "display number from Xvfb" test -s "$work/display"
    export DISPLAY=:$(cat "$work/display")

    export XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config XDG_CACHE_HOME=$work/cache
    export XDG_RUNTIME_DIR=$work/runtime TMPDIR=$work/tmp QUILLBAY_RESOURCES=$work/resources
    export QTWEBENGINE_DISABLE_SANDBOX=1 QTWEBENGINE_CHROMIUM_FLAGS=--disable-gpu
    export PATH=$work/bin:$PATH BROWSER=$work/bin/xdg-open
    library=$XDG_DATA_HOME/QuillBay
}

# A library that starts with no feed at all: every one it ends with came through the program.
start_with_no_feeds() {
    cat >"$work/resources/DefaultFeeds.opml" <<'OPML'
<?xml version="1.0" encoding="UTF-8"?>
<opml version="1.0"><head><title>No feeds</title></head><body></body></opml>
OPML
}

# For a failure's description: what the X server shows.
list_windows() {
    [ -n "${xvfb_pid:-}" ] || return 0
    echo "windows on the screen:"
    for id in $(xdotool search --onlyvisible --name '.' 2>/dev/null); do
        echo "  $id '$(xdotool getwindowname "$id" 2>/dev/null)'"
    done
}

find_window() {
    window=$(xdotool search --onlyvisible --name 'QuillBay$' 2>/dev/null | head -n 1)
    [ -n "$window" ]
}

# A window of the program by its exact title; the visible one, since Qt keeps hidden ones around.
window_named() { xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | head -n 1; }
shown() { [ -n "$(window_named "$1")" ]; }
gone() { [ -z "$(window_named "$1")" ]; }
title_is() { [ "$(xdotool getwindowname "$window" 2>/dev/null)" = "$1 — QuillBay" ]; }
title_starts() { [[ "$(xdotool getwindowname "$window" 2>/dev/null)" == "$1"* ]]; }

# Keys go where the pointer is as long as no window took the focus, so the pointer rests on the
# window meant and the window is given the focus too.
key_in() {
    local target=$1
    shift
    eval "$(xdotool getwindowgeometry --shell "$target")"
    xdotool mousemove "$((X + WIDTH / 2))" "$((Y + HEIGHT / 2))"
    xdotool windowfocus --sync "$target" 2>/dev/null
    xdotool key --delay 80 "$@"
}

# After Ctrl+Q, or what $1 names: the program must end within 30 s, and cleanly.
wait_for_quit() {
    local how=${1:-Ctrl+Q} deadline=$((SECONDS + 30)) status
    while kill -0 "$app_pid" 2>/dev/null; do
        [ $SECONDS -lt $deadline ] || fail "the program did not quit within 30s of $how"
        sleep 0.2
    done
    wait "$app_pid"
    status=$?
    app_pid=""
    [ "$status" = 0 ] || fail "the program quit with status $status after $how"
    step "quit with $how"
}
