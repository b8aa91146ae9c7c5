"""Helpers for the screenshot scripts' sample library.

  sample-feeds.py shift FOLDER     moves every date of the feeds in FOLDER forward by whole days, newest to
                                   today, so that nothing has expired when they are read
  sample-feeds.py pictures DB      prints "picture feed article" for each stored article whose summary shows
                                   one of the sample pictures, for squaring into its thumbnail
"""
import datetime as dt
import email.utils
import pathlib
import re
import sqlite3
import sys

RFC = re.compile(r"<pubDate>([^<]+)</pubDate>")
ISO = re.compile(r"<(published|updated)>([^<]+)</\1>")


def parse_iso(text):
    return dt.datetime.fromisoformat(text.replace("Z", "+00:00"))


def shift(folder):
    files = {p: p.read_text(encoding="utf-8") for p in pathlib.Path(folder).glob("*.xml")}
    dates = []
    for text in files.values():
        dates += [email.utils.parsedate_to_datetime(m) for m in RFC.findall(text)]
        dates += [parse_iso(m[1]) for m in ISO.findall(text)]
    now = dt.datetime.now(dt.timezone.utc)
    by = dt.timedelta(days=(now.date() - max(dates).date()).days)
    if max(dates) + by > now:
        by -= dt.timedelta(days=1)
    for path, text in files.items():
        text = RFC.sub(lambda m: "<pubDate>%s</pubDate>" % email.utils.format_datetime(
            email.utils.parsedate_to_datetime(m[1]) + by), text)
        text = ISO.sub(lambda m: "<%s>%s</%s>" % (m[1], (parse_iso(m[2]) + by).strftime(
            "%Y-%m-%dT%H:%M:%SZ"), m[1]), text)
        path.write_text(text, encoding="utf-8")


def pictures(database):
    for unique, feed, text in sqlite3.connect(database).execute(
            "select uniqueID, source, fullSummary from articles"):
        match = re.search(r'src="http://127\.0\.0\.1:\d+/images/([\w-]+\.jpg)"', text or "")
        if match:
            print(match[1], feed, unique)


if __name__ == "__main__":
    {"shift": shift, "pictures": pictures}[sys.argv[1]](sys.argv[2])
