"""Real servers for the tests, one row per server and scheme. They run inside tools/sandbox."""
