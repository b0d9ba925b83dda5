"""WebDriver errors: the error code a client reads and the HTTP status that carries it."""

__all__ = ["WebDriverError", "STATUS"]

STATUS = {
    "element click intercepted": 400,
    "element not interactable": 400,
    "insecure certificate": 400,
    "invalid argument": 400,
    "invalid cookie domain": 400,
    "invalid element state": 400,
    "invalid selector": 400,
    "invalid session id": 404,
    "javascript error": 500,
    "move target out of bounds": 500,
    "no such alert": 404,
    "no such cookie": 404,
    "no such element": 404,
    "no such frame": 404,
    "no such window": 404,
    "no such shadow root": 404,
    "script timeout": 500,
    "session not created": 500,
    "stale element reference": 404,
    "detached shadow root": 404,
    "timeout": 500,
    "unable to set cookie": 500,
    "unable to capture screen": 500,
    "unexpected alert open": 500,
    "unknown command": 404,
    "unknown error": 500,
    "unknown method": 405,
    "unsupported operation": 500,
}


class WebDriverError(Exception):
    """A failed command: ``code`` is one of the keys of :data:`STATUS`."""

    def __init__(self, code, message=""):
        super().__init__(message or code)
        if code not in STATUS:
            code = "unknown error"
        self.code = code
        self.message = message or code

    @property
    def status(self):
        return STATUS[self.code]

    def to_json(self):
        return {"value": {"error": self.code, "message": self.message, "stacktrace": ""}}
