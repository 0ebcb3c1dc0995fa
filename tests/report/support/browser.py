"""A headless Chromium, driven over a pipe with the Chrome DevTools Protocol."""

import json
import os
import subprocess
import tempfile

PROGRAM = "chromium-headless-shell"


class Browser:
    """One page without a network: whatever it asks for besides its own file is recorded."""

    def __init__(self):
        self._profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        commands_read, self._commands = os.pipe()
        self._answers, answers_write = os.pipe()
        # The protocol's places: commands come in on 3, answers go out on 4.
        shell = 'exec "$@" 3<&%d 4>&%d' % (commands_read, answers_write)
        self._process = subprocess.Popen(
            ["bash", "-c", shell, "bash", PROGRAM, "--no-sandbox", "--disable-gpu",
             "--disable-dev-shm-usage",
             "--remote-debugging-pipe", "--user-data-dir=" + self._profile.name,
             "--host-resolver-rules=MAP * ~NOTFOUND", "about:blank"],
            pass_fds=(commands_read, answers_write), stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(commands_read)
        os.close(answers_write)
        self._buffer = b""
        self._number = 0
        self._session = None
        self.events = []
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self._session = self.call("Target.attachToTarget", targetId=target,
                                  flatten=True)["sessionId"]
        for domain in ("Page", "Network", "Log", "Runtime"):
            self.call(domain + ".enable")

    def close(self):
        """Ends it."""
        os.close(self._commands)
        self._process.wait(timeout=30)
        os.close(self._answers)
        self._profile.cleanup()

    def call(self, method, **parameters):
        """The result of a method of the protocol."""
        self._number += 1
        message = {"id": self._number, "method": method, "params": parameters}
        if self._session:
            message["sessionId"] = self._session
        os.write(self._commands, json.dumps(message).encode() + b"\0")
        answer = self._wait(lambda message: message.get("id") == self._number)
        if "error" in answer:
            raise RuntimeError("%s: %s" % (method, answer["error"]))
        return answer["result"]

    def open(self, file):
        """Shows a file, and returns once it is loaded."""
        del self.events[:]
        self.call("Page.navigate", url="file://" + str(file))
        if not any(event["method"] == "Page.loadEventFired" for event in self.events):
            self._wait(lambda message: message.get("method") == "Page.loadEventFired")

    def look(self, width, dark=False, media=""):
        """How wide the window is, in pixels, and how the page is to look."""
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=900,
                  deviceScaleFactor=1, mobile=False)
        scheme = {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}
        self.call("Emulation.setEmulatedMedia", media=media, features=[scheme])

    def evaluate(self, expression):
        """The value of an expression of ours, or of its promise; the page's own policy does not concern it."""
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True,
                           awaitPromise=True)
        if "exceptionDetails" in result:
            raise RuntimeError(str(result["exceptionDetails"]))
        return result["result"].get("value")

    def screenshot(self):
        """The whole page as PNG, in base64."""
        return self.call("Page.captureScreenshot", captureBeyondViewport=True)["data"]

    def _wait(self, is_wanted):
        while True:
            message = self._read()
            if "method" in message:
                self.events.append(message)
            if is_wanted(message):
                return message

    def _read(self):
        while b"\0" not in self._buffer:
            data = os.read(self._answers, 1 << 16)
            if not data:
                raise RuntimeError(PROGRAM + " has ended")
            self._buffer += data
        message, self._buffer = self._buffer.split(b"\0", 1)
        return json.loads(message)
