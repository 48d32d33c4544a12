"""Showing results: on a terminal, as a web page, and to other programs."""
