# The two everyday commands are `make run` and `make test`. Both install what is missing,
# configure with a CMake preset and build with Ninja.
PRESET ?= default
BUILD_DIR := build/$(PRESET)
FUZZ_SECONDS ?= 60
# Warnings are errors in CI.
export QUILLON_WERROR ?= $(if $(filter true,$(CI)),ON,OFF)
# Sanitizer settings for the asan and tsan presets.
export ASAN_OPTIONS ?= detect_leaks=1:abort_on_error=0:detect_stack_use_after_return=1
export LSAN_OPTIONS ?= suppressions=$(CURDIR)/tests/sanitizers/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS ?= print_stacktrace=1:halt_on_error=1
export TSAN_OPTIONS ?= suppressions=$(CURDIR)/tests/sanitizers/tsan.supp:halt_on_error=1:second_deadlock_stack=1

# The tests that exercise threads: the refresh cycle and the tray item.
space := $(subst ,, )
TSAN_TESTS := app_state_test refresh_integration_test tray_icon_test tray_icon_activation_test \
    dbus_menu_test title_subscription_test item_anchor_lookup_test accessible_item_finder_test

DESKTOPS ?=

.PHONY: all deps configure build run demo test screenshots test-desktops gnome-extension test-asan test-tsan fuzz tidy package clean format \
    debian13 check-package check-package-debian13

all: build

deps:
	@scripts/install-deps.sh

configure: deps
	@cmake --preset $(PRESET) --log-level=WARNING >/dev/null

build: configure
	@cmake --build --preset $(PRESET)

run: build
	$(BUILD_DIR)/src/app/quillon

test: build gnome-shell/node_modules/.installed
	@scripts/run-tests.sh $(BUILD_DIR)

# The pictures the view, panel, card and icon tests draw, kept in build/screenshots/ to be looked
# at; in a plain `make test` they go with each test's temporary folder.
screenshots: build
	@rm -rf build/screenshots
	@QUILLON_SCREENSHOTS=$(CURDIR)/build/screenshots scripts/run-tests.sh $(BUILD_DIR) \
	    -R '^(DashboardView|InlineSettingsView|ProgressBarView|Panel[A-Za-z]*|CardRenderer|TrayIconImage)Test\.'
	@ls build/screenshots

# ESLint for the GNOME Shell extension, as the lockfile pins it.
gnome-shell/node_modules/.installed: gnome-shell/package-lock.json
	@cd gnome-shell && npm ci --no-audit --no-fund --loglevel=error >/dev/null
	@touch $@

# Quillon's GNOME Shell extension for this user, from this checkout, in the variant that fits
# the installed GNOME Shell.
gnome-extension:
	@gnome-shell/build.sh "$${XDG_DATA_HOME:-$$HOME/.local/share}/gnome-shell/extensions/quillon@quillon.org" auto
	@echo "Installed Quillon's GNOME Shell extension. Turn it on with:"
	@echo "    gnome-extensions enable quillon@quillon.org"
	@echo "On Wayland, GNOME Shell sees a new extension after you log out and in again."

# The demo build under real panel hosts, each headless (DESKTOPS="xfce tint2" picks some);
# screenshots and logs in build/desktops/<host>/.
test-desktops: configure
	@cmake --build --preset $(PRESET) --target quillon_demo quillon
	@scripts/run-desktop-tests.sh $(BUILD_DIR) $(DESKTOPS)

# The real application against a local sample service. Without a display it runs on a virtual
# one and writes screenshots of the panel and the settings to build/demo/.
demo: configure
	@cmake --build --preset $(PRESET) --target quillon_demo
	@if [ -n "$$DISPLAY" ]; then $(BUILD_DIR)/demo/quillon_demo; \
	else scripts/with-display.sh dbus-run-session -- \
	    $(BUILD_DIR)/demo/quillon_demo --screenshots build/demo; fi

# The whole suite under AddressSanitizer and UndefinedBehaviorSanitizer.
test-asan:
	@$(MAKE) --no-print-directory test PRESET=asan

# The threaded tests under ThreadSanitizer.
test-tsan: deps
	@cmake --preset tsan --log-level=WARNING >/dev/null
	@cmake --build --preset tsan --target $(TSAN_TESTS)
	@scripts/run-tests.sh build/tsan -L '$(subst $(space),|,$(TSAN_TESTS))'

# Every fuzz target for FUZZ_SECONDS seconds.
fuzz: deps
	@cmake --preset fuzz --log-level=WARNING >/dev/null
	@cmake --build --preset fuzz
	@scripts/run-fuzzers.sh build/fuzz $(FUZZ_SECONDS)

# clang-tidy with the project's .clang-tidy over src/.
tidy: configure
	@scripts/run-clang-tidy.sh $(BUILD_DIR)

# The Debian package, in build/package/.
package: build
	@rm -f build/package/*.deb
	@cpack --config $(BUILD_DIR)/CPackConfig.cmake -B build/package
	@ls build/package/*.deb

# The package installed, run and removed in a fresh bare system of this machine's release (root
# only), and the same for a package built on Debian 13.
check-package: package
	@scripts/check-package.sh "$$(. /etc/os-release && echo "$$VERSION_CODENAME")" build/package/*.deb
check-package-debian13:
	@scripts/in-debian.sh trixie package
	@scripts/check-package.sh trixie build/trixie/package/*.deb

# Make goals run on Debian 13, in a system made with debootstrap and kept between runs (root
# only): make debian13 GOALS="test", or GOALS="test-desktops DESKTOPS=gnome". What they leave in
# build/desktops and build/package comes back to build/trixie/.
GOALS ?= test
debian13:
	@scripts/in-debian.sh trixie $(GOALS)

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
