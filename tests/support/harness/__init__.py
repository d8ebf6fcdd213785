"""A private Linux desktop with real programs, and the built vellumix in it. Python's standard library only."""
