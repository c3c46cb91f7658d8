"""Does in a running Firefox what its owner does in its own pages, which no window shows by a key alone."""

import contextlib
import json
import socket
import time


@contextlib.contextmanager
def turn():
    """Every Firefox that can be talked to listens on the same port: there is one at a time on the machine, whoever runs
    these tests. Held by a name that is given back with the end of the process, however that comes."""
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
        self._receive()  # its greeting
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
        """The script may await; it answers with `return`."""
        return self._call("WebDriver:ExecuteAsyncScript", {
            "script": "const done = arguments[arguments.length - 1]; (async (...given) => {" + script +
                      "})(...arguments).then(value => done({value}), error => done({error: String(error)}))",
            "args": list(arguments), "sandbox": "system", "newSandbox": True, "scriptTimeout": 20000})["value"]
