"""``uiremote webdriver``: a W3C WebDriver endpoint that maps WebDriver onto the controls of
uiremote, through :class:`uiremote.Client`.

Files: ``server`` (HTTP and the command), ``routes`` (the command table), ``sessions``
(sessions and capabilities), ``launch`` (starting programs under the launcher), ``elements``
(element references), ``css`` and ``locators`` (location strategies, page source),
``element_commands``, ``commands`` and ``actions`` (the commands), ``keys`` (key codes),
``errors`` (error codes)."""


def main(argv=None):
    from .server import main as run

    return run(argv)
