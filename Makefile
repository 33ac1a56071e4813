# The everyday tasks. Each target first installs what it needs.

.PHONY: help demo demo-page demo-blender check build bench lint docs setup clean
.DEFAULT_GOAL := help

JOBS := $(shell nproc 2>/dev/null || echo 2)

help:
	@echo "make demo          build it and hold a conversation with an application"
	@echo "make demo-page     the same from a page in a real browser, with pictures"
	@echo "make demo-blender  both with Blender as the application"
	@echo "make check         build it in both word sizes and run every test"
	@echo "make build         build it for this machine, in build/native"
	@echo "make bench         compare its speed with that of its peers"
	@echo "make lint          format, clang's warnings and tidy, shell scripts"
	@echo "make docs          the reference of the public headers, in build/docs"
	@echo "make clean         remove everything built"
	@echo
	@echo "To install: make build, then cmake --install build/native"

# With or without what a browser starts: ON or OFF.
define build_programs
	@echo "Building build/native ..."
	@mkdir -p build/logs
	@(cmake --preset native -DVALDRIN_BUILD_TESTS=OFF \
	    -DVALDRIN_BUILD_BENCH=OFF -DVALDRIN_BUILD_BRIDGE=$(1) && \
	  cmake --build --preset native -j $(JOBS)) >build/logs/demo 2>&1 || \
	  { tail -n 40 build/logs/demo; exit 1; }
endef

demo:
	@scripts/setup demo
	$(call build_programs,OFF)
	@scripts/demo build/native

demo-blender:
	@scripts/setup page
	@scripts/setup blender
	$(call build_programs,ON)
	@scripts/demo-blender build/native

demo-page:
	@scripts/setup page
	$(call build_programs,ON)
	@scripts/demo-page build/native

check:
	@scripts/setup check
	@scripts/check

build:
	@scripts/setup check
	cmake --preset native
	cmake --build --preset native -j $(JOBS)

bench:
	@scripts/setup develop
	@scripts/bench

lint:
	@scripts/setup develop
	@scripts/lint

docs:
	@scripts/setup develop
	@scripts/docs

setup:
	@scripts/setup develop

clean:
	rm -rf build
