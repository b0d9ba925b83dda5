"""WebDriver sessions: each one a connection to one program, launched for the session or
attached to, with its elements, time-outs and current window."""

import threading
import time
import uuid

from ..client import Client
from ..errors import UIRemoteError
from .elements import Registry
from .errors import WebDriverError
from .launch import launch

__all__ = ["Session", "SessionManager", "merge_capabilities"]

OPTIONS = "uiremote:options"
_DEFAULT_TIMEOUTS = {"implicit": 0, "pageLoad": 300000, "script": 30000}


def merge_capabilities(body):
    """The capabilities to use from a New Session body (alwaysMatch merged with the first
    firstMatch entry that does not contradict it)."""
    caps = body.get("capabilities") if isinstance(body, dict) else None
    if caps is None:
        caps = {"alwaysMatch": body.get("desiredCapabilities") or {}} if isinstance(body, dict) else None
    if not isinstance(caps, dict):
        raise WebDriverError("invalid argument", "capabilities must be an object")
    always = caps.get("alwaysMatch") or {}
    first = caps.get("firstMatch") or [{}]
    if not isinstance(always, dict) or not isinstance(first, list):
        raise WebDriverError("invalid argument", "alwaysMatch must be an object and firstMatch a list")
    for entry in first:
        if not isinstance(entry, dict):
            raise WebDriverError("invalid argument", "firstMatch entries must be objects")
        if any(key in always for key in entry):
            continue
        merged = dict(always, **entry)
        name = merged.get("browserName")
        if name not in (None, "", "uiremote", "qt", "qtquick"):
            continue
        return merged
    raise WebDriverError("session not created", "no firstMatch entry that this endpoint can serve")


def _options(caps):
    options = dict(caps.get(OPTIONS) or {})
    if not isinstance(caps.get(OPTIONS, {}), dict):
        raise WebDriverError("invalid argument", "%s must be an object" % OPTIONS)
    for appium, ours in (("appium:app", "app"), ("appium:arguments", "args"), ("appium:newCommandTimeout", None)):
        if appium in caps and ours and ours not in options:
            options[ours] = caps[appium]
    if not options.get("app") and not options.get("connect"):
        raise WebDriverError("session not created",
                             "say what to drive: %s {\"app\": PATH} or {\"connect\": \"HOST:PORT\"}" % OPTIONS)
    if options.get("args") is not None and not isinstance(options["args"], list):
        raise WebDriverError("invalid argument", "%s args must be a list" % OPTIONS)
    if options.get("env") is not None and not isinstance(options["env"], dict):
        raise WebDriverError("invalid argument", "%s env must be an object" % OPTIONS)
    return options


class Session:
    def __init__(self, session_id, client, launched, capabilities):
        self.id = session_id
        self.client = client
        self.launched = launched
        self.capabilities = capabilities
        self.elements = Registry(client)
        self.timeouts = dict(_DEFAULT_TIMEOUTS)
        self.window = None
        self.root_path = None  # the served root window's path: the `this` of scripts
        self.lock = threading.RLock()
        self.last_used = time.monotonic()
        #: Seconds to wait for the window to settle after clicks and actions (0: do not wait).
        self.wait_idle = 5.0

    def close(self):
        self.client.close()
        if self.launched is not None:
            self.launched.stop()


class SessionManager:
    """The sessions of one endpoint.  ``idle_timeout`` (s, 0 for never) ends sessions that have
    not been used for that long; ``max_sessions`` bounds how many run at once."""

    def __init__(self, launchers=None, idle_timeout=0, max_sessions=8, log=None):
        self.launchers = launchers or {}
        self.idle_timeout = idle_timeout
        self.max_sessions = max_sessions
        self.log = log or (lambda message: None)
        self._sessions = {}
        self._starting = 0
        self._lock = threading.Lock()
        self._stop = threading.Event()
        if idle_timeout:
            threading.Thread(target=self._reap, daemon=True, name="uiremote-webdriver-reaper").start()

    def ready(self):
        with self._lock:
            busy = len(self._sessions) + self._starting
        if busy >= self.max_sessions:
            return False, "%d sessions run, the most this endpoint takes" % busy
        return True, "ready for new sessions (%d running)" % busy

    def create(self, body):
        caps = merge_capabilities(body)
        options = _options(caps)
        with self._lock:
            if len(self._sessions) + self._starting >= self.max_sessions:
                raise WebDriverError("session not created", "this endpoint runs %d sessions, its most" % self.max_sessions)
            self._starting += 1
        launched = None
        try:
            if options.get("connect"):
                host, _, port = str(options["connect"]).rpartition(":")
                if not port.isdigit():
                    raise WebDriverError("invalid argument", "connect must be HOST:PORT, not %r" % options["connect"])
                host, port, token = host or "127.0.0.1", int(port), options.get("token")
            else:
                launched = launch(str(options["app"]), options.get("args") or (), options.get("env") or {},
                                  name_from_ids=options.get("nameFromIds", True) is not False,
                                  root=options.get("root"), timeout=float(options.get("launchTimeout", 60)),
                                  launchers=self.launchers)
                host, port, token = launched.host, launched.port, launched.token
            client = Client(host, port, timeout=float(options.get("commandTimeout", 30)), token=token)
            try:
                client.connect()
                hello = client.send({"tree": {"depth": 0}})
            except UIRemoteError as error:
                raise WebDriverError("session not created", "cannot reach the program at %s:%d: %s"
                                     % (host, port, error)) from None
            if not hello.result:
                raise WebDriverError("session not created", "the program at %s:%d does not answer the extension "
                                     "words (extension mode is off): %s" % (host, port, hello.error))
        except BaseException:
            if launched is not None:
                launched.stop()
            with self._lock:
                self._starting -= 1
            raise
        session = Session(uuid.uuid4().hex, client, launched, caps)
        settle = options.get("waitIdle", True)
        session.wait_idle = 0 if settle is False else (5.0 if settle is True else float(settle))
        root = hello.value or {}
        session.window = client.window = root.get("id") or root.get("label") or root.get("path")
        session.root_path = root.get("path")
        with self._lock:
            self._starting -= 1
            self._sessions[session.id] = session
        self.log("session %s: %s" % (session.id, "attached to %s:%d" % (host, port) if launched is None
                                     else "%s on port %d (pid %d)" % (options["app"], port, launched.process.pid)))
        returned = {k: v for k, v in caps.items() if k != OPTIONS}
        returned.update({
            "browserName": "uiremote", "browserVersion": "1", "platformName": "linux",
            "acceptInsecureCerts": False, "setWindowRect": True, "strictFileInteractability": False,
            "unhandledPromptBehavior": "dismiss and notify", "pageLoadStrategy": caps.get("pageLoadStrategy", "normal"),
            "timeouts": dict(session.timeouts),
            OPTIONS: {k: v for k, v in options.items() if k != "token"},
        })
        returned.pop("webSocketUrl", None)
        return session, returned

    def get(self, session_id):
        with self._lock:
            session = self._sessions.get(session_id)
        if session is None:
            raise WebDriverError("invalid session id", "no session %s" % session_id)
        session.last_used = time.monotonic()
        return session

    def delete(self, session_id):
        with self._lock:
            session = self._sessions.pop(session_id, None)
        if session is None:
            raise WebDriverError("invalid session id", "no session %s" % session_id)
        with session.lock:
            session.close()
        self.log("session %s ended" % session_id)

    def close_all(self):
        self._stop.set()
        with self._lock:
            sessions = list(self._sessions)
        for session_id in sessions:
            try:
                self.delete(session_id)
            except WebDriverError:
                pass

    def _reap(self):
        period = max(0.5, min(10.0, self.idle_timeout / 4))
        while not self._stop.wait(period):
            now = time.monotonic()
            with self._lock:
                idle = [s.id for s in self._sessions.values() if now - s.last_used > self.idle_timeout]
            for session_id in idle:
                self.log("session %s idle for %g s: ending it" % (session_id, self.idle_timeout))
                try:
                    self.delete(session_id)
                except WebDriverError:
                    pass
