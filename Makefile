# The everyday commands, over the CMake presets.
JOBS ?= $(shell nproc)
FUZZ_SECONDS ?= 60
# Without end, unless it is said how long.
SOAK_SECONDS ?= 1000000000

.PHONY: demo test check format explore soak asan tsan asan-clang tsan-clang coverage bench fuzz install package clean

demo:
	@tools/demo

test:
	@tools/setup
	@cmake --preset dev
	@cmake --build --preset dev -j $(JOBS)
	@ctest --preset dev

check:
	@tools/setup check
	tools/check_format
	tools/check_rules
	@cmake --preset dev >/dev/null
	tools/tidy

format:
	@tools/setup check
	tools/check_format --fix

explore soak: build-explore

explore:
	@tools/setup clang
	@tools/explore $(JOBS)
	@echo "== 100,000 runs of each fuzz target"
	@tools/fuzz --seed 1 --jobs $(JOBS)

# Other seeds each day; a finding is counted, recorded and does not end it.
soak:
	@mkdir -p build/soak
	@build/release/bin/photometer-explore --seeds $$(date +%s)000 --seconds $(SOAK_SECONDS) --keep-going \
	  --jobs $(JOBS) --folder build/soak

.PHONY: build-explore
build-explore:
	@tools/setup
	@cmake --preset release
	@cmake --build --preset release -j $(JOBS) --target program-photometer-explore

asan tsan:
	@tools/setup
	@cmake --preset $@
	@cmake --build --preset $@ -j $(JOBS)
	@ctest --preset $@

asan-clang tsan-clang:
	@tools/setup clang
	@cmake --preset $@
	@cmake --build --preset $@ -j $(JOBS)
	@ctest --preset $@

coverage:
	@tools/setup clang
	@cmake --preset coverage
	@cmake --build --preset coverage -j $(JOBS)
	@tools/coverage

bench:
	@tools/setup
	@cmake --preset release
	@cmake --build --preset release -j $(JOBS) --target benchmarks
	@set -e; for program in build/release/bin/bench_*; do echo "== $$program"; "$$program"; done

fuzz:
	@tools/fuzz --seconds $(FUZZ_SECONDS) --jobs $(JOBS)

install:
	@tools/setup
	@cmake --preset release
	@cmake --build --preset release -j $(JOBS)
	@cmake --install build/release $(if $(PREFIX),--prefix "$(PREFIX)")

package:
	@tools/setup package
	@cmake --preset package
	@cmake --build --preset package -j $(JOBS)
	@rm -f build/package/*.deb
	@SOURCE_DATE_EPOCH=$${SOURCE_DATE_EPOCH:-$$(git log -1 --format=%ct 2>/dev/null || date +%s)} cpack --config build/package/CPackConfig.cmake -B build/package
	@packaging/check_packages build/package

clean:
	rm -rf build
