# The ways to build and try the library, on a bare Debian 12 as root or with sudo. `make help` lists them.

BUILD_PACKAGES := g++ cmake ninja-build ccache libgtest-dev libgmock-dev libbenchmark-dev libpng-dev libcli11-dev
CHECK_PACKAGES := clang clang-format pkgconf
TIDY_PACKAGES := clang clang-tidy
FUZZ_PACKAGES := clang libclang-rt-14-dev
FUZZ_SECONDS := 60
CHECKED_PRESETS := release debug-asan clang

SHELL := /bin/bash
.SHELLFLAGS := -o pipefail -c

SUDO := $(if $(filter 0,$(shell id -u)),,sudo)
SOURCES = git ls-files -z -- '*.h' '*.cpp'

# Installs the packages of $(1) that are missing; asks no network when none is.
define install
	@missing=; for package in $(1); do \
		dpkg -s $$package 2>/dev/null | grep -q '^Status: install ok installed' || missing="$$missing $$package"; \
	done; \
	if [ -n "$$missing" ]; then \
		echo "Installing$$missing"; \
		$(SUDO) apt-get update -qq && \
		$(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $$missing; \
	fi
endef

.PHONY: help demo check symbols format format-check tidy fuzz bench clean build-packages check-packages
.NOTPARALLEL:

help:
	@echo 'make demo          replay a recorded painting session into build/demo.png'
	@echo 'make check         build and test: $(CHECKED_PRESETS)'
	@echo 'make bench         measure'
	@echo 'make symbols       write the list of exported symbols anew'
	@echo 'make format        lay out all sources; format-check only looks'
	@echo 'make tidy          run clang-tidy'
	@echo 'make fuzz          build the fuzz targets and run each for FUZZ_SECONDS=$(FUZZ_SECONDS)'
	@echo 'make clean         remove build/'

build-packages:
	$(call install,$(BUILD_PACKAGES))

check-packages: build-packages
	$(call install,$(CHECK_PACKAGES))

demo: build-packages
	cmake --preset release
	cmake --build --preset release --target paint-replay
	build/release/host/paint-replay examples/demo.dat -o build/demo.png --stats
	@echo 'The picture is in build/demo.png'

check: check-packages $(addprefix check-,$(CHECKED_PRESETS))

# Builds and tests one preset.
check-%: check-packages
	cmake --preset $*
	cmake --build --preset $*
	ctest --preset $*

bench: build-packages
	cmake --preset release
	cmake --build --preset release
	build/release/bench/bench-kernels
	build/release/bench/bench-stamps
	build/release/bench/bench-strokes
	build/release/bench/bench-layers
	build/release/bench/bench-fill
	build/release/bench/bench-transforms
	build/release/bench/bench-undo
	build/release/bench/bench-footprint

symbols: build-packages
	cmake --preset release
	cmake --build --preset release --target paintlayer_update_symbols

format:
	$(call install,clang-format)
	$(SOURCES) | xargs -0 -r clang-format -i

format-check:
	$(call install,clang-format)
	$(SOURCES) | xargs -0 -r clang-format --dry-run -Werror

tidy: build-packages
	$(call install,$(TIDY_PACKAGES))
	cmake --preset clang -DPAINTLAYER_BUILD_BENCH=ON
	git ls-files -z -- '*.cpp' | xargs -0 -r -n 4 -P 2 clang-tidy -p build/clang --quiet

fuzz: build-packages
	$(call install,$(FUZZ_PACKAGES))
	cmake --preset fuzz
	cmake --build --preset fuzz --target fuzz-samples fuzz-commands
	mkdir -p build/fuzz/corpus/samples build/fuzz/corpus/commands
	cd build/fuzz && fuzz/fuzz-samples -max_total_time=$(FUZZ_SECONDS) -timeout=10 -max_len=2000 corpus/samples \
		../../examples ../../tests/data
	cd build/fuzz && fuzz/fuzz-commands -max_total_time=$(FUZZ_SECONDS) -timeout=20 -len_control=0 -max_len=1000 corpus/commands

clean:
	rm -rf build
