# Two entry points: `make run` installs, builds and plays a recording with the zephplay tool;
# `make test` installs, builds and runs the whole test suite. Everything else is plain CMake
# (see CMakePresets.json).
#   make run                     plays a short sample recording (made on first use)
#   make run FILE=drive.grec     plays the given recording
# In a window when $DISPLAY is set, headless otherwise; either way it ends with a summary line.
.PHONY: run test build deps clean

SAMPLE := build/sample.grec
FILE ?=

deps:
	scripts/install-deps

build: deps
	cmake --preset default
	cmake --build build -j2

$(SAMPLE): build
	test -f $@ || build/zephplay-samplemaker -f grec --frames 250 --audio aac -o $@

run: build $(if $(FILE),,$(SAMPLE))
	./build/zephplay play $(if $(DISPLAY),,--headless) "$(or $(FILE),$(SAMPLE))"

test: deps
	scripts/run-tests

clean:
	rm -rf build build-asan build-tsan build-fuzz
