"""All benchmarks with a target, in one run."""

import sys

import buffer
import documents
import expressions
import growth
import imports
import memory
import plain
import scan
from measuring import main

if __name__ == "__main__":
    modules = imports, expressions, documents, memory, scan, growth, buffer, plain
    sys.exit(main(*(module.report for module in modules)))
