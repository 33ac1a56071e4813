# The everyday tasks. Each target first installs what it needs.

.PHONY: help demo demo-page demo-blender check build install uninstall bench \
        lint docs interface setup xpi clean
.DEFAULT_GOAL := help

help:
	@echo "make demo          build it and hold a conversation with an application"
	@echo "make demo-page     the same from a page in a real browser, with pictures"
	@echo "make demo-blender  both with Blender as the application"
	@echo "make build         build it for this machine, in build/release"
	@echo "make install       install that in ~/.local, or with PREFIX=... elsewhere"
	@echo "make uninstall     remove what make install has installed"
	@echo "make check         build it in both word sizes and run every test"
	@echo "make bench         compare its speed with that of its peers"
	@echo "make lint          format, clang's warnings and tidy, shell scripts"
	@echo "make docs          the guides and the reference, in build/docs"
	@echo "make xpi           the component as an extension for browsers of its own time"
	@echo "make interface     describe the binary interface, after a change that is meant"
	@echo "make clean         remove everything built"

demo: build
	@scripts/demo

demo-blender:
	@scripts/setup page
	@scripts/setup blender
	@scripts/build
	@scripts/demo-blender

demo-page:
	@scripts/setup page
	@scripts/build
	@scripts/demo-page

build:
	@scripts/setup build
	@scripts/build

install: build
	@scripts/install '$(PREFIX)'

uninstall:
	@scripts/install --uninstall '$(PREFIX)'

check:
	@scripts/setup check
	@scripts/check

bench:
	@scripts/setup bench
	@scripts/bench

lint:
	@scripts/setup lint
	@scripts/lint

docs:
	@scripts/setup docs
	@scripts/docs

interface:
	@scripts/setup check
	@for preset in x86 native; do \
	    cmake --preset $$preset && \
	    cmake --build --preset $$preset -j $$(nproc) --target interface || exit 1; \
	done
	@git diff --stat -- tests/interface

xpi:
	@scripts/setup check
	@scripts/xpi

setup:
	@scripts/setup develop

clean:
	rm -rf build
