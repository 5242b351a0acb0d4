"""nginx on a free port, with a log of what it sent."""

from __future__ import annotations

import os
import re
import shutil
import socket
import subprocess
import time
import urllib.error
import urllib.request
from pathlib import Path
from typing import NamedTuple

PROGRAM = shutil.which("nginx", path=os.environ["PATH"] + ":/usr/sbin")


class Answer(NamedTuple):
    """What the server logged about a request."""

    status: int
    bytes: int  # of the body
    range: str
    path: str


class WebServer:
    """Serves the files of `folder`/files: under /listed with listings, under /plain without, under /whole
    without ranges, and under /forbidden not at all. Where a file `folder`/fails exists, everything is
    answered with 500.
    """

    def __init__(self, folder: Path) -> None:
        self.files = folder / "files"
        self.files.mkdir()
        self.fails = folder / "fails"
        self._log = folder / "log"
        self._marks = 0
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.port = free.getsockname()[1]
        places = {"listed": "autoindex on;", "plain": "", "whole": "max_ranges 0;", "forbidden": "deny all;"}
        locations = "".join(
            f"location /{name}/ {{ alias {self.files}/; {how} if (-f {self.fails}) {{ return 500; }} }}\n"
            for name, how in places.items()
        )
        temporary = "".join(
            f"{kind}_temp_path {folder}/{kind};\n"
            for kind in ("client_body", "proxy", "fastcgi", "uwsgi", "scgi")
        )
        configuration = folder / "nginx.conf"
        user = "user root;" if os.getuid() == 0 else ""
        configuration.write_text(
            f"""{user} worker_processes 1; daemon off; pid {folder}/pid; error_log {folder}/errors;
            events {{}}
            http {{
              {temporary}
              log_format told '$status $body_bytes_sent "$http_range" $request_uri';
              access_log {self._log} told;
              server {{ listen 127.0.0.1:{self.port}; location /mark {{ return 204; }} {locations} }}
            }}"""
        )
        self._process = subprocess.Popen(
            [str(PROGRAM), "-e", str(folder / "errors"), "-c", str(configuration), "-p", str(folder)]
        )
        for _ in range(200):
            try:
                self._mark()
                return
            except urllib.error.URLError:
                time.sleep(0.05)
        raise RuntimeError((folder / "errors").read_text())

    def url(self, place: str, name: str) -> str:
        return f"http://127.0.0.1:{self.port}/{place}/{name}"

    def answers(self) -> list[Answer]:
        """What was answered since the last time."""
        mark = f" /mark{self._mark()}"
        while True:
            lines = self._log.read_text().splitlines()
            if lines and lines[-1].endswith(mark):
                break
            time.sleep(0.01)
        found = [re.fullmatch(r'(\d+) (\d+) "(.*)" (.*)', line) for line in lines]
        marks = [place for place, match in enumerate(found) if match and match[4].startswith("/mark")]
        return [Answer(int(m[1]), int(m[2]), m[3], m[4]) for m in found[marks[-2] + 1 : -1] if m]

    def stop(self) -> None:
        self._process.terminate()
        self._process.wait(20)

    def _mark(self) -> int:
        with urllib.request.urlopen(self.url(f"mark{self._marks + 1}", "").rstrip("/")):
            self._marks += 1
        return self._marks
