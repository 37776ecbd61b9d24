# make demo     builds the tools and runs the examples, which check their own results
# make test     builds everything and runs all tests (PRESET=qgis: with the plugin, in QGIS itself;
#               PRESET=sanitized: with the plugin too, under address and undefined sanitizers)
# make test-qgis  the plugin's tests alone, with a picture of every dialog in build/qgis/pictures
# make bench    the fast ways against the plain ones
# make bench-qgis  the same tools on a million features in QGIS and on the command line (BENCH_COUNT, BENCH_ROUNDS)
# make install  puts `orlinths` under PREFIX and, where QGIS's development files are installed, the plugin into QGIS
# make plugin   the plugin alone, into PLUGIN_DIR
# Each installs the Debian packages it misses (as root, or through sudo).

PRESET ?= release
PREFIX ?= /usr/local
PLUGIN_DIR ?= /usr/lib/qgis/plugins
BUILD := build/$(PRESET)
JOBS ?= $(shell nproc)
BENCH_COUNT ?= 1000000
BENCH_ROUNDS ?= 7
CMAKE_FLAGS ?=
# What the demo runs, one after the other: each a script that checks its own results.
EXAMPLES ?= luxembourg elevation storm-tracks home-ranges

TOOLS := g++ cmake ninja-build ccache pkg-config locales ca-certificates
LIBRARIES := libgdal-dev libsqlite3-dev libgeos-dev libproj-dev libboost-dev nlohmann-json3-dev libcli11-dev
QGIS := qgis libqgis-dev qtbase5-dev
CHECKS := libgtest-dev libgmock-dev libbenchmark-dev gdal-bin

ifneq ($(filter qgis sanitized,$(PRESET)),)
LIBRARIES += $(QGIS) xvfb xauth
endif

.PHONY: all demo test test-qgis bench bench-qgis install plugin packages configure clean
all: configure
	cmake --build $(BUILD) --parallel $(JOBS)

packages:
	@missing=$$(for p in $(TOOLS) $(LIBRARIES) $(CHECKS); do \
	    dpkg-query -W -f '$${Status}' $$p 2>/dev/null | grep -q 'ok installed' || echo $$p; done); \
	if [ -n "$$missing" ]; then \
	  echo "Installing:" $$missing; \
	  root=; [ "$$(id -u)" = 0 ] || root=sudo; \
	  $$root apt-get update -qq && \
	  $$root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing >/dev/null; \
	fi

configure: packages
	@mkdir -p $(BUILD)
	@cmake --preset $(PRESET) $(CMAKE_FLAGS) >$(BUILD)/configure.log 2>&1 || { cat $(BUILD)/configure.log; exit 1; }

demo: configure
	@cmake --build $(BUILD) --parallel $(JOBS) --target orlinths
	@set -e; for example in $(EXAMPLES); do sh examples/$$example.sh $(BUILD); done

test: all
	@ctest --test-dir $(BUILD) --output-on-failure --parallel $(JOBS)

test-qgis:
	@$(MAKE) --no-print-directory configure PRESET=qgis
	@cmake --build build/qgis --parallel $(JOBS) --target qgis_tests
	@mkdir -p build/qgis/pictures
	@ORLINTHS_PICTURES=$(CURDIR)/build/qgis/pictures ctest --test-dir build/qgis --output-on-failure -R '^qgis'

bench: all
	@for program in $(BUILD)/bench/*Bench; do $$program; done

bench-qgis:
	@$(MAKE) --no-print-directory configure PRESET=qgis
	@cmake --build build/qgis --parallel $(JOBS) --target orlinths orlinthstoolsplugin
	@python3 bench/qgis/run.py build/qgis $(BENCH_COUNT) $(BENCH_ROUNDS)

install: packages
	cmake --preset no-qgis -DCMAKE_INSTALL_PREFIX=$(PREFIX) >/dev/null
	cmake --build build/no-qgis --parallel $(JOBS) --target orlinths
	cmake --install build/no-qgis
	@if dpkg-query -W -f '$${Status}' libqgis-dev 2>/dev/null | grep -q 'ok installed'; then $(MAKE) plugin; fi

plugin: LIBRARIES += $(QGIS)
plugin: packages
	cmake --preset qgis -DORLINTHS_TESTS=OFF -DORLINTHS_QGIS_PLUGIN_DIR=$(PLUGIN_DIR) >/dev/null
	cmake --build build/qgis --parallel $(JOBS) --target orlinthstoolsplugin
	cmake --install build/qgis --component plugin

clean:
	rm -rf build
