# Entry points for users and CI. CMake does the real work; each target keeps
# its own build directory so that the three builds never mix.
JOBS        ?= $(shell nproc 2>/dev/null || echo 2)
BUILD       ?= build
BUILD_ASAN  ?= build-asan
BUILD_ARM   ?= build-arm
BUILD_FUZZ  ?= build-fuzz
ARM_SYSROOT ?= $(CURDIR)/.deps/armhf
CMAKE_FLAGS ?=
PREFIX      ?= /usr/local

.PHONY: all configure test test-asan test-arm compare-platforms bench demo demo-ar demo-rt fuzz fuzz-build fuzz-long fuzz-smoke clean arm-deps install

# The demos configure the same release build as `make` and `make test` but
# build only their programs: a first demo takes a few minutes, not the time
# of every test program, and a later `make test` reuses what it compiled.
configure:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)

all: configure
	cmake --build $(BUILD) -j $(JOBS)

test: all
	ctest --test-dir $(BUILD) --output-on-failure --no-tests=error -j $(JOBS)

# The library (static and shared), its headers, CMake package and pkg-config file.
install: configure
	cmake --build $(BUILD) -j $(JOBS) --target ppp ppp_shared pppio
	cmake --install $(BUILD) --prefix $(PREFIX)

test-asan:
	cmake -S . -B $(BUILD_ASAN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPPPLIB_SANITIZE=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD_ASAN) -j $(JOBS)
	ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest --test-dir $(BUILD_ASAN) --output-on-failure -j $(JOBS)

# zlib for the target comes from Debian's armhf packages, unpacked into a
# private sysroot (no multiarch installation on the build machine needed).
arm-deps:
	@if [ ! -f $(ARM_SYSROOT)/usr/include/zlib.h ]; then \
	  mkdir -p $(ARM_SYSROOT)/debs && cd $(ARM_SYSROOT)/debs && \
	  apt-get download zlib1g:armhf zlib1g-dev:armhf && \
	  for f in *.deb; do dpkg -x $$f $(ARM_SYSROOT); done; \
	fi || echo "armhf zlib unavailable: the ARM build reads uncompressed files only"

test-arm: arm-deps
	cmake -S . -B $(BUILD_ARM) -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_TOOLCHAIN_FILE=$(CURDIR)/cmake/arm-linux-gnueabihf.cmake -DPPP_ARM_SYSROOT=$(ARM_SYSROOT) $(CMAKE_FLAGS)
	cmake --build $(BUILD_ARM) -j $(JOBS)
	ctest --test-dir $(BUILD_ARM) --output-on-failure -j $(JOBS)

# The native and the ARM program on the sample: every output file must agree.
compare-platforms:
	tools/compare_platforms.py --native $(BUILD)/bin/ppprun --arm $(BUILD_ARM)/bin/ppprun --work $(BUILD)/platforms

bench:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=Release -DPPPLIB_BENCH=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD) -j $(JOBS)
	@for b in $(BUILD)/bench/*; do [ -x "$$b" ] && echo "== $$b" && "$$b"; done

demo: configure
	cmake --build $(BUILD) -j $(JOBS) --target ppprun
	tools/demo.sh $(BUILD)

# Ambiguity resolution on a small simulated network from the bundled sample.
demo-ar: configure
	cmake --build $(BUILD) -j $(JOBS) --target netsim updnet ppprun
	tools/demo_ar.sh $(BUILD)

demo-rt: configure
	cmake --build $(BUILD) -j $(JOBS) --target rnx2rtcm ntripcaster ppprun
	tools/demo_rt.sh $(BUILD)

# Damaged copies of the sample inputs against the sanitizer build.
fuzz:
	cmake -S . -B $(BUILD_ASAN) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DPPPLIB_SANITIZE=ON $(CMAKE_FLAGS)
	cmake --build $(BUILD_ASAN) -j $(JOBS) --target ppprun
	tools/fuzz_ppprun.py --ppprun $(BUILD_ASAN)/bin/ppprun --runs $(or $(RUNS),200)

# Coverage-guided fuzzing of every input format and of the facade (fuzz/):
# the libFuzzer harnesses, built with clang and the sanitizers, run
# SECONDS each (fuzz-long) or 10 s each (fuzz-smoke, for CI), JOBS at a
# time, then a table of executions, coverage, corpus and findings.
FUZZ_TARGETS := $(patsubst fuzz/%.cpp,%,$(wildcard fuzz/fuzz_*.cpp))
fuzz-build:
	CC=clang CXX=clang++ cmake -S . -B $(BUILD_FUZZ) -DCMAKE_BUILD_TYPE=Release -DPPPLIB_FUZZ=ON -DPPPLIB_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build $(BUILD_FUZZ) -j $(JOBS) --target $(FUZZ_TARGETS)

fuzz-long: fuzz-build
	tools/fuzz_harnesses.py --build $(BUILD_FUZZ) --seconds $(or $(SECONDS),300) --jobs $(JOBS)

fuzz-smoke: fuzz-build
	tools/fuzz_harnesses.py --build $(BUILD_FUZZ) --seconds 10 --jobs $(JOBS) --work $(BUILD_FUZZ)/smoke-work

clean:
	rm -rf $(BUILD) $(BUILD_ASAN) $(BUILD_ARM) $(BUILD_FUZZ)
