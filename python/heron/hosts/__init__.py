"""Hosts: the scenes that the engine can be pointed at without an application around it."""
