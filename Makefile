# Thin verbs for people; the work is done by the scripts in tools/ and by the CMake presets.
#
#   make run ARGS="JOB17 6420=3" UI_LANGUAGE=de    make fuzz SECONDS=600
.PHONY: help run test test-x86 build bench fuzz coverage endurance package lint clean

export ARGS UI_LANGUAGE LINK SCENARIO ANALYSER SEED CYCLES MINUTES

here := $(dir $(abspath $(lastword $(MAKEFILE_LIST))))

help:
	@echo "make run      the program under Wine against the simulated analyser (ARGS=, UI_LANGUAGE=de|en, LINK=usb|serial|irda, ANALYSER=745)"
	@echo "make test     all tests: host, host-windows, fuzz, windows"
	@echo "make test-x86 the windows tests with the 32-bit program, in a Debian of its own in the user's cache folder (root)"
	@echo "make build    the program in dist/NeltoStackWatcher, the simulator in dist/simulator"
	@echo "make bench    benchmarks"
	@echo "make fuzz     every fuzzer for SECONDS= (60) seconds, or until RUNS= executions in all"
	@echo "make coverage how much of the parsers the fuzzers' corpora reach"
	@echo "make endurance  a simulated day with a thousand faults over each link, then MINUTES= (3) of reconnects under Wine"
	@echo "make package  installers, zips and what goes with them, in dist/packages"
	@echo "make lint     format, static analysis, include rules"
	@echo "make clean    remove build/ and dist/"

run:
	@$(here)tools/run

test:
	@$(here)tools/test

test-x86:
	@$(here)tools/test x86

build:
	@$(here)tools/build

bench:
	@$(here)tools/bench

fuzz:
	@$(here)tools/fuzz $(if $(RUNS),RUNS=$(RUNS),$(or $(SECONDS),60))

coverage:
	@$(here)tools/coverage

endurance:
	@$(here)tools/endurance

package:
	@$(here)tools/package

lint:
	@$(here)tools/lint

clean:
	rm -rf $(here)build $(here)dist
