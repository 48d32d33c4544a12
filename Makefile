# How Heron is built, tested and checked. `make` alone lists what there is.
# cmake, ninja and the test tools come from PyPI into .venv; nothing is installed on the machine.

SHELL := /bin/bash
.SHELLFLAGS := -e -u -o pipefail -c
.DELETE_ON_ERROR:
.DEFAULT_GOAL := help
MAKEFLAGS += --no-builtin-rules

# The interpreter that .venv is made from: the first of these that is new enough.
ifeq ($(origin PYTHON), undefined)
PYTHON := $(shell for name in python3 python3.14 python3.13 python3.12 python3.11 python3.10; do \
    if $$name -c 'import sys; sys.exit(sys.version_info < (3, 10))' 2>/dev/null; then echo $$name; exit; fi; \
  done; echo python3)
endif
# Further arguments for pytest: make test ARGS="-k buffer"
ARGS ?=
# How long to fuzz, in seconds.
TIME ?= 600
# How the sanitizers look for leaks, see tools/sanitized.
export FRAMES ?= 2
export LEAKS ?= 1
SCENE ?= examples/street.gltf
PROJECT ?= examples/street.json

ROOT := $(CURDIR)
VENV := $(ROOT)/.venv
BIN := $(VENV)/bin
PIP := $(BIN)/python -m pip install -qq --disable-pip-version-check

# An interpreter that sees only the module of the given build, and the commands of .venv.
in_build = PATH="$(BIN):$$PATH" PYTHONPATH="$(ROOT)/build/$(1):$(ROOT)/python" MYPYPATH="$(ROOT)/python"

# Reports of the sanitizers reach the terminal even when they end the process.
sanitized_pytest := -p no:faulthandler --capture=sys --hypothesis-profile=sanitized

.PHONY: help demo test test-all asan fuzz fuzz-api bench lint lint-cpp lint-python format wheel check-wheel clean distclean
.PHONY: build-dev build-asan build-release build-fuzz

help: ## This list
	@awk -F ':.*## ' '/^[a-z-]+:.*## / { printf "  make %-12s %s\n", $$1, $$2 }' $(MAKEFILE_LIST)

demo: build-dev ## Scan, validate, fix and export the example scene
	@$(call in_build,dev) "$(BIN)/heron" scan $(SCENE) --project $(PROJECT)
	@# Status 1 says that something was found, and in the example there is something to find.
	@$(call in_build,dev) "$(BIN)/heron" validate $(SCENE) --project $(PROJECT) --fix || [ "$$?" -eq 1 ]
	@$(call in_build,dev) "$(BIN)/heron" export $(SCENE) --project $(PROJECT) --to build/export

test: build-dev ## All tests; ARGS="-k buffer" for some
	@$(call in_build,dev) "$(BIN)/python" -m pytest $(ARGS)

test-all: wheel ## All tests on every CPython found, with the one binary of the wheel
	@MYPYPATH="$(ROOT)/python" PIP="$(BIN)/python -m pip" tools/test-all dist/*.whl $(ARGS)

asan: build-asan ## All tests under the address and undefined behaviour sanitizers
	@$(call in_build,asan) tools/sanitized "$(BIN)/python" -m pytest $(sanitized_pytest) $(ARGS)

fuzz: build-fuzz ## Fuzz the name matcher; TIME=60 for a minute
	@mkdir -p build/fuzz/inputs
	@ASAN_OPTIONS=detect_leaks=0 build/fuzz/fuzz/fuzz_name_matcher build/fuzz/inputs fuzz/seeds -dict=fuzz/name_matcher.dict \
	  -artifact_prefix=build/fuzz/ -max_total_time=$(TIME) -max_len=80 -timeout=10 -print_final_stats=1

fuzz-api: build-asan ## Call the module at random with hostile values; TIME=60 for a minute
	@$(call in_build,asan) LEAKS=0 tools/sanitized "$(BIN)/python" fuzz/api.py --time $(TIME) $(ARGS)

bench: build-release ## Speed, growth and memory, as tables with targets
	@$(call in_build,release) "$(BIN)/python" bench $(ARGS)
	@$(call in_build,release) "$(BIN)/python" bench/validate.py

lint: lint-python lint-cpp ## Formatting and static checks

lint-python: $(VENV)/.lint-ready
	@"$(BIN)/ruff" format --check --quiet $(wildcard python tests fuzz bench examples tools)
	@"$(BIN)/ruff" check --quiet $(wildcard python tests fuzz bench examples tools)
	@"$(BIN)/mypy" --no-error-summary -p heron

lint-cpp: $(VENV)/.lint-ready build/dev/build.ninja
	@"$(BIN)/python" tools/check-floors
	@find $(wildcard src fuzz tests) -name '*.cpp' -o -name '*.h' | xargs "$(BIN)/clang-format" --dry-run --Werror
	@find src -name '*.cpp' | sort \
	  | xargs -P "$$(getconf _NPROCESSORS_ONLN)" -n 1 "$(BIN)/clang-tidy" -p build/dev --quiet

format: $(VENV)/.lint-ready ## Bring C++ and Python into their form
	@find $(wildcard src fuzz tests) -name '*.cpp' -o -name '*.h' | xargs "$(BIN)/clang-format" -i
	@"$(BIN)/ruff" format --quiet $(wildcard python tests fuzz bench examples tools)
	@"$(BIN)/ruff" check --quiet --select I --fix $(wildcard python tests fuzz bench examples tools)

wheel: $(VENV)/.ready ## The wheel to ship, in dist/
	@rm -rf dist
	@$(BIN)/python -m pip wheel -qq --disable-pip-version-check --no-deps --wheel-dir dist .
	@ls dist

check-wheel: wheel ## Install the wheel into an empty environment and use it
	@BIN="$(BIN)" tools/check-wheel dist/*.whl $(SCENE) $(PROJECT)

clean: ## Remove what was built
	rm -rf build dist .hypothesis .mypy_cache .pytest_cache .ruff_cache
	find . -path ./.venv -prune -o -name __pycache__ -type d -exec rm -rf {} +

distclean: clean ## Remove .venv too
	rm -rf .venv

# The command and the module of the dev build also work in an activated .venv, without make.
$(VENV)/.ready: tools/requirements-build.txt tests/requirements.txt
	@missing="$$(PYTHON="$(PYTHON)" tools/missing-packages)"; \
	if [ -n "$$missing" ]; then \
	  echo "Heron needs packages that are missing here. On Debian: apt-get install $$missing" >&2; exit 1; \
	fi
	@echo "Preparing .venv with $$($(PYTHON) --version)"
	@$(PYTHON) -m venv "$(VENV)"
	@$(PIP) $(foreach file,$^,-r $(file))
	@site="$$("$(BIN)/python" -c 'import sysconfig; print(sysconfig.get_path("purelib"))')"; \
	printf '%s\n' "$(ROOT)/build/dev" "$(ROOT)/python" > "$$site/heron.pth"
	@printf '%s\n' '#!$(BIN)/python' 'import sys' 'from heron.cli import main' 'sys.exit(main())' > "$(BIN)/heron"
	@chmod +x "$(BIN)/heron"
	@touch $@

$(VENV)/.lint-ready: tools/requirements-lint.txt $(VENV)/.ready
	@$(PIP) -r $<
	@touch $@

.PHONY: needs-clang
needs-clang:
	@command -v clang++ > /dev/null || { \
	  echo "Fuzzing needs clang with libFuzzer. On Debian: apt-get install clang" >&2; exit 1; }

build/fuzz/build.ninja: | needs-clang

build/%/build.ninja: CMakePresets.json $(VENV)/.ready
	@PATH="$(BIN):$$PATH" cmake --preset $* -DPython_EXECUTABLE="$(BIN)/python" --log-level=WARNING
	@touch $@

build-dev build-asan build-release: build-%: build/%/build.ninja
	@"$(BIN)/ninja" -C build/$* --quiet
	@# Newer headers let newer functions through, and the module would not load in the oldest Python.
	@if [ build/$*/core.abi3.so -nt build/$*/.abi-checked ]; then \
	  "$(BIN)/abi3audit" --strict --verbose --assume-minimum-abi3 3.10 build/$*/core.abi3.so \
	    > build/$*/abi.log 2>&1 || { cat build/$*/abi.log >&2; exit 1; }; \
	  touch build/$*/.abi-checked; \
	fi

build-fuzz: build/fuzz/build.ninja
	@"$(BIN)/ninja" -C build/fuzz --quiet fuzz_name_matcher
