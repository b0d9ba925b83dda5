"""``python3 -m uiremote``: the command line client (see uiremote.cli)."""

import sys

from .cli import main

if __name__ == "__main__":
    sys.exit(main())
