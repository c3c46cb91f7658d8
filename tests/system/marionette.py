"""Controls a running Firefox, for what a user does in the browser's own pages and can't be done by keys alone."""

import contextlib
import json
import socket
import time


@contextlib.contextmanager
def turn():
    """Waits for this process's turn: every controlled Firefox listens on the same port, so there is one at a time on
    the machine. An abstract socket name holds the turn; the kernel frees it when the process ends in any way."""
    with socket.socket(socket.AF_UNIX) as name:
        while True:
            try:
                name.bind("\0tidewell-tests-marionette")
                break
            except OSError:
                time.sleep(0.2)
        yield


class Marionette:
    """Talks to a Firefox that was started with `arguments`."""

    arguments = ["--marionette", "--remote-allow-system-access"]
    port = 2828

    def __init__(self, seconds=60):
        end = time.monotonic() + seconds
        while True:
            try:
                self.socket = socket.create_connection(("127.0.0.1", self.port), timeout=seconds)
                break
            except ConnectionRefusedError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.1)
        self.number = 0
        self._receive()  # the server's greeting
        self._call("WebDriver:NewSession", {})
        self._call("Marionette:SetContext", {"value": "chrome"})

    def close(self):
        self.socket.close()

    def _receive(self):
        length = b""
        while not length.endswith(b":"):
            length += self.socket.recv(1)
        message = b""
        while len(message) < int(length[:-1]):
            message += self.socket.recv(65536)
        return json.loads(message)

    def _call(self, command, parameters):
        self.number += 1
        text = json.dumps([0, self.number, command, parameters])
        self.socket.sendall(f"{len(text.encode())}:{text}".encode())
        _, _, error, answer = self._receive()
        if error:
            raise RuntimeError(error["message"])
        return answer

    def run(self, script, *arguments):
        """Runs a script, which may await, and returns its value."""
        return self._call("WebDriver:ExecuteAsyncScript", {
            "script": "const done = arguments[arguments.length - 1]; (async (...given) => {" + script +
                      "})(...arguments).then(value => done({value}), error => done({error: String(error)}))",
            "args": list(arguments), "sandbox": "system", "newSandbox": True, "scriptTimeout": 20000})["value"]
