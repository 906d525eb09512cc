# Thin wrapper over the CMake presets.
.PHONY: setup demo test test-asan bench install clean

setup:
	@tools/setup-deps.sh

demo: setup
	cmake --preset release >/dev/null
	cmake --build --preset release --target nyx_demo
	cd build/release && ./examples/nyx_demo demo-out

test: setup
	cmake --preset release >/dev/null
	cmake --build --preset release
	ctest --preset release

test-asan: setup
	cmake --preset asan >/dev/null
	cmake --build --preset asan
	ctest --preset asan

bench: setup
	cmake --preset release >/dev/null
	cmake --build --preset release
	bench/compare --build build/release

install: setup
	cmake --preset release >/dev/null
	cmake --build --preset release
	cmake --install build/release

clean:
	rm -rf build
