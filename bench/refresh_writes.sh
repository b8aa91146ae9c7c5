#!/usr/bin/env bash
# Measures what a refresh that stores nothing writes to disk at 100,000 stored articles (500 feeds of
# 200 each): quillbay-cli refresh runs under GNU time against feeds served from 127.0.0.1 that hold
# only articles already stored, and its file-system outputs are set beside the database's size.
# Talks to nothing but its own loopback server; the default feed list is replaced by an empty one.
#
#   refresh_writes.sh BUILD_DIR     (needs /usr/bin/time from the Debian package "time")
set -euo pipefail

build=$(cd "$1" && pwd)
root=$(cd "$(dirname "$0")/.." && pwd)
work=$(mktemp -d)
server_pid=""
trap '[ -n "$server_pid" ] && kill "$server_pid"; rm -rf "$work"' EXIT

mkdir -p "$work"/{feeds,data,config,resources}
cp -r "$root/resources/." "$work/resources/"
echo '<opml version="1.0"><head><title>none</title></head><body></body></opml>' >"$work/resources/DefaultFeeds.opml"
export QUILLBAY_RESOURCES=$work/resources XDG_DATA_HOME=$work/data XDG_CONFIG_HOME=$work/config

python3 "$root/tests/e2e/loopback_server.py" "$work/feeds" "$work/port" "$work/server.log" &
server_pid=$!
for _ in $(seq 50); do [ -s "$work/port" ] && break; sleep 0.1; done
port=$(cat "$work/port")

"$build/bench/library_bench" generate "$work/data" "base=http://127.0.0.1:$port"
# Every feed serves the 200 items it already has, by the guids the generator gave them.
python3 - "$work/feeds" <<'PY'
import pathlib, sys
for feed in range(500):
    items = "".join(
        "<item><title>Headline %d</title><guid>https://feeds.example.org/%d/item/%d</guid></item>" % (a, feed, a)
        for a in range(200))
    pathlib.Path(sys.argv[1], "%d.xml" % feed).write_text(
        '<rss version="2.0"><channel><title>Feed %d</title>%s</channel></rss>' % (feed, items))
PY

library=$work/data/QuillBay
database_bytes=$(($(stat -c %s "$library/Articles.db") + $(stat -c %s "$library/Articles.db-wal" 2>/dev/null || echo 0)))
/usr/bin/time -v "$build/quillbay-cli" --library "$library" refresh --concurrent 5 >"$work/refresh.out" 2>"$work/time.txt"
cat "$work/refresh.out"
outputs=$(awk -F': ' '/File system outputs/ {print $2}' "$work/time.txt")
wall=$(awk -F': ' '/Elapsed \(wall clock\)/ {print $2}' "$work/time.txt")
stored=$(python3 -c "import sqlite3,sys; print(sqlite3.connect(sys.argv[1]).execute('select count(*) from articles').fetchone()[0])" "$library/Articles.db")
echo "articles stored: $stored; database: $((database_bytes / 1048576)) MB"
echo "refresh wrote $((outputs * 512 / 1024)) KB (file-system outputs $outputs x 512 B) in $wall:" \
    "$(python3 -c "print(f'{$outputs * 512 / $database_bytes:.4f}')") of the database's size"
