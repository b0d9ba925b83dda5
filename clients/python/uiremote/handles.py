"""Object handles as the client holds them (see :mod:`uiremote.scripting`)."""

__all__ = ["Handle", "script_value"]


class Handle(int):
    """An object's handle: a path argument that names the object by its handle."""

    def __repr__(self):
        return "Handle(%d)" % self


def script_value(value):
    """A script argument as the wire takes it: handles become ``{"handle": n}``, in lists and
    dicts too; other values stay as they are."""
    if isinstance(value, Handle):
        return {"handle": int(value)}
    if isinstance(value, (list, tuple)):
        return [script_value(element) for element in value]
    if isinstance(value, dict):
        return {key: script_value(element) for key, element in value.items()}
    return value
