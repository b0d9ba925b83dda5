# make build | make test | make demo | make bench | make fuzz | make test-sanitize
BUILD_DIR ?= build
JOBS ?= 2

.PHONY: all deps build test test-unit test-sanitize fuzz fuzz-short demo bench clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

# Every suite: the C++ suites under sanitizers, the short fuzz runs, then the C++ and Python
# suites of the ordinary build (whose ctest summary closes the run).
test: test-sanitize fuzz-short test-unit

test-unit: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

test-sanitize: deps
	scripts/test-sanitize.sh

fuzz-short: deps
	scripts/fuzz.sh short

fuzz: deps
	scripts/fuzz.sh long

demo: build
	scripts/demo.sh $(BUILD_DIR)

bench: build
	scripts/bench.sh $(BUILD_DIR)

clean:
	rm -rf $(BUILD_DIR) build-sanitize build-fuzz
