#!/usr/bin/env bash
# Installs a built tree into a scratch prefix and checks that every file lands where the desktop
# looks for it, and that the installed command line reads its resources from that prefix.
# Usage: check-install.sh BUILD_DIR
set -euo pipefail
build_dir=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build_dir" --prefix "$prefix" >/dev/null

status=0
expect() {
  for file in "$@"; do
    [ -e "$prefix/$file" ] || { echo "missing after install: $file"; status=1; }
  done
}
expect bin/quillbay bin/quillbay-cli \
  share/quillbay/resources/DefaultFeeds.opml share/quillbay/resources/Localizable.json \
  share/quillbay/resources/welcome.html share/quillbay/resources/stylesheet.css \
  share/applications/quillbay.desktop share/metainfo/org.quillbay.QuillBay.metainfo.xml \
  share/icons/hicolor/scalable/apps/quillbay.svg share/man/man1/quillbay.1.gz share/man/man1/quillbay-cli.1.gz \
  share/doc/quillbay/changelog.gz share/quillbay/resources/help/index.html
for size in 16 32 48 64 128 256; do
  expect "share/icons/hicolor/${size}x${size}/apps/quillbay.png"
done
[ -x "$prefix/bin/quillbay-cli" ] || { echo "bin/quillbay-cli is not executable"; status=1; }
[ $status -eq 0 ] || exit $status

# Nothing from the build tree may be needed: the shipped list of feeds is swapped for one only the
# installed copy holds, so a new library that starts with it proves where the program looked.
cat >"$prefix/share/quillbay/resources/DefaultFeeds.opml" <<'OPML'
<?xml version="1.0" encoding="UTF-8"?>
<opml version="1.0"><head><title>Installed</title></head><body>
<outline text="Only In The Prefix" type="rss" xmlUrl="https://installed.example/feed.xml"/>
</body></opml>
OPML
unset QUILLBAY_RESOURCES
export HOME=$work/home XDG_CONFIG_HOME=$work/home/.config XDG_DATA_HOME=$work/home/.local/share
"$prefix/bin/quillbay-cli" --help >/dev/null
listing=$("$prefix/bin/quillbay-cli" --library "$work/library" list 2>"$work/log")
if ! grep -q "https://installed.example/feed.xml" <<<"$listing"; then
  echo "the installed quillbay-cli did not seed its library from the installed resources:"
  echo "$listing"
  cat "$work/log"
  exit 1
fi
if command -v desktop-file-validate >/dev/null; then
  desktop-file-validate "$prefix/share/applications/quillbay.desktop"
fi
if command -v appstreamcli >/dev/null; then
  appstreamcli validate --no-net "$prefix/share/metainfo/org.quillbay.QuillBay.metainfo.xml" >/dev/null
fi
echo "install into $prefix checked"
