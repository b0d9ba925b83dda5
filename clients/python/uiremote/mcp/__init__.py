"""The agent tool server, ``uiremote mcp``: the application's controls as Model Context
Protocol tools (server.py the protocol, tools.py the tools, link.py the connection)."""
