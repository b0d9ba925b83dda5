"""The pytest plugin: ``pytest_plugins = ["uiremote.pytest.plugin"]`` in a conftest.py, or
``-p uiremote.pytest.plugin`` on the command line (see :mod:`uiremote.pytest.plugin`)."""
