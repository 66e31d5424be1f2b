# Two entry points: `make run` installs, builds and runs the zephplay tool; `make test` installs,
# builds and runs the whole test suite. Everything else is plain CMake (see CMakePresets.json).
.PHONY: run test build deps clean

deps:
	scripts/install-deps

build: deps
	cmake --preset default
	cmake --build build -j2

run: build
	./build/zephplay

test: deps
	scripts/run-tests

clean:
	rm -rf build build-asan build-tsan build-fuzz
