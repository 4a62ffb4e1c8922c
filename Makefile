# The two everyday commands: `make run` and `make test`. Both install what is missing, configure
# with a CMake preset and build with Ninja.
PRESET ?= default
BUILD_DIR := build/$(PRESET)
# Warnings are errors in CI.
export QUILLON_WERROR ?= $(if $(filter true,$(CI)),ON,OFF)

.PHONY: all deps configure build run test clean format

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@cmake --preset $(PRESET) --log-level=WARNING >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

run: build
	$(BUILD_DIR)/src/app/quillon

test: build
	@scripts/run-tests.sh $(BUILD_DIR)

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
