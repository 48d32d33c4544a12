"""The commands of the command line, one module each: `add_parser` declares one, `run` carries it out."""
