# make build | make test | make demo
BUILD_DIR ?= build
JOBS ?= 2
PYTHON ?= /usr/bin/python3

.PHONY: all deps build test demo clean

all: build

deps:
	@scripts/install-deps.sh

$(BUILD_DIR)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: deps $(BUILD_DIR)/CMakeCache.txt
	cmake --build $(BUILD_DIR) -j$(JOBS)

test: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j$(JOBS)

demo: build
	scripts/demo.sh $(BUILD_DIR)

clean:
	rm -rf $(BUILD_DIR)
