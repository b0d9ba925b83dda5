"""The pytest plugin's earlier module name; the plugin is :mod:`uiremote.pytest.plugin`."""

import sys

from .pytest import plugin

sys.modules[__name__] = plugin
