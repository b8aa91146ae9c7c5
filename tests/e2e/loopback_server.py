"""Serves one folder on 127.0.0.1 at a free port for the desktop test.

Writes the port to PORT_FILE once listening and appends every request line to LOG_FILE at once, so the
test can read what the program asked for while it still runs. Never listens beyond the loopback.
"""
import functools
import http.server
import os
import sys

folder, port_file, log_file = sys.argv[1:4]


class Handler(http.server.SimpleHTTPRequestHandler):
    def log_request(self, code="-", size="-"):
        with open(log_file, "a", encoding="utf-8") as log:
            log.write("%s %s %s\n" % (self.command, self.path, code))

    def log_message(self, format, *args):
        pass


server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Handler, directory=folder))
# Written aside and renamed into place, so that the test never reads half a number.
with open(port_file + ".part", "w", encoding="utf-8") as out:
    out.write(str(server.server_address[1]))
os.replace(port_file + ".part", port_file)
server.serve_forever()
