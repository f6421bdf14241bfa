"""The system log of a view: a reader on /dev/log, which no logger serves there."""
import os
import re
import socket
import threading

import tables


class SystemLog(threading.Thread):
    """Writes each message to `path` as one line, as it came but for its priority, until it is told to stop."""

    def __init__(self, path):
        super().__init__(daemon=True)
        self.path = path
        self.socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        if os.path.lexists("/dev/log"):
            os.unlink("/dev/log")
        self.socket.bind("/dev/log")
        os.chmod("/dev/log", 0o666)
        self.socket.settimeout(0.2)
        self.stopping = threading.Event()

    def run(self):
        with open(self.path, "w", encoding="utf-8", errors="surrogateescape") as log:
            while True:
                try:
                    message = self.socket.recv(65536)
                except socket.timeout:
                    if self.stopping.is_set():
                        return
                    continue
                text = message.decode("utf-8", "surrogateescape").rstrip("\0\n")
                log.write(tables.escape(re.sub(r"^<\d+>", "", text)) + "\n")
                log.flush()

    def stop(self):
        self.stopping.set()
        self.join()
