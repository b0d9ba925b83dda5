# make build | make test | make demo | make bench | make fuzz | make test-sanitize
BUILD_DIR ?= build
QT6_BUILD_DIR ?= build-qt6
JOBS ?= 2

.PHONY: all deps build build-qt6 test test-unit test-qt6 test-sanitize fuzz fuzz-short demo bench bench-qt6 clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

# The same sources built against Qt 6 (library and host carry a Qt6 suffix).
$(QT6_BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(QT6_BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DUIREMOTE_QT_MAJOR=6

build-qt6: deps $(QT6_BUILD_DIR)/CMakeCache.txt
	cmake --build $(QT6_BUILD_DIR) -j$(JOBS)

# Every suite: the C++ suites under sanitizers, the short fuzz runs, every suite against Qt 6,
# then the C++ and Python suites of the ordinary Qt 5 build (whose ctest summary closes the run).
test: test-sanitize fuzz-short test-qt6 test-unit

test-qt6: build-qt6
	cd $(QT6_BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

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

bench-qt6: build-qt6
	scripts/bench.sh $(QT6_BUILD_DIR)

clean:
	rm -rf $(BUILD_DIR) $(QT6_BUILD_DIR) build-sanitize build-fuzz
