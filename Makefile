# Convenience wrappers around CMake. README.md tells what each target does.
BUILD      ?= build
TEST_BUILD ?= build-test
BENCH_BUILD ?= build-bench
FUZZ_BUILD ?= build-fuzz
FUZZ_SECONDS ?= 60
MUTANTS    ?= 80
JOBS       ?= $(shell nproc)

.PHONY: all build run test bench fuzz mutants clean

all: build

build:
	tools/install-deps build
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo
	cmake --build $(BUILD) -j$(JOBS)

# A fresh copy of the demo Korvel directory each time: the repository's copy
# is never touched. Status 1 means "saved", which is no failure.
run: build
	rm -rf $(BUILD)/demo
	cp -R data/demo $(BUILD)/demo
	cmake --install $(BUILD) --prefix $(BUILD)/demo >/dev/null
	@cd $(BUILD)/demo && ./corvane; status=$$?; \
	  echo "corvane ended with status $$status; the demo directory is $(BUILD)/demo"; \
	  [ $$status -le 1 ]

test:
	tools/install-deps test
	cmake -S . -B $(TEST_BUILD) -DCMAKE_BUILD_TYPE=Debug -DCORVANE_TESTS=ON -DCORVANE_SANITIZE=ON -DCORVANE_WERROR=ON
	cmake --build $(TEST_BUILD) -j$(JOBS)
	cd $(TEST_BUILD) && ctest --output-on-failure -j$(JOBS)

bench:
	tools/install-deps bench
	cmake -S . -B $(BENCH_BUILD) -DCMAKE_BUILD_TYPE=Release -DCORVANE_BENCH=ON
	cmake --build $(BENCH_BUILD) -j$(JOBS)
	cd $(BENCH_BUILD) && for b in bench/bench_*; do [ -x "$$b" ] && "$$b" || exit 1; done

fuzz:
	tools/install-deps fuzz
	CXX=clang++ cmake -S . -B $(FUZZ_BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCORVANE_FUZZ=ON
	cmake --build $(FUZZ_BUILD) -j$(JOBS)
	tools/fuzz $(FUZZ_BUILD) $(FUZZ_SECONDS)

# Not part of `make test`: about 100 minutes on two cores.
mutants:
	tools/install-deps mutants
	tools/mutate --count $(MUTANTS) --jobs $(JOBS)

clean:
	rm -rf $(BUILD) $(TEST_BUILD) $(BENCH_BUILD) $(FUZZ_BUILD) build-mutants
