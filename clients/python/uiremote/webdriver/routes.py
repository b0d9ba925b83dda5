"""The table of WebDriver commands: method, URL template and handler."""

import re

__all__ = ["ROUTES", "route", "resolve"]

ROUTES = []


def route(method, template, session=True):
    """Registers ``handler(session_or_manager, params, body)`` for ``method template``; the
    template's ``{name}`` parts become ``params``."""
    pattern = re.compile("^" + re.sub(r"\{(\w+)\}", r"(?P<\1>[^/]+)", template.rstrip("/")) + "/?$")

    def register(handler):
        ROUTES.append((method, pattern, handler, session))
        return handler

    return register


def resolve(method, path):
    """(handler, params, needs session) for a request, or (None, None, whether the path exists)."""
    path_known = False
    for route_method, pattern, handler, session in ROUTES:
        found = pattern.match(path)
        if found:
            path_known = True
            if route_method == method:
                return handler, found.groupdict(), session
    return None, None, path_known
