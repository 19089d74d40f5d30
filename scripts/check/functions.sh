# shellcheck shell=bash
# What several scripts share; they source it from the root of the tree.

jobs=$(nproc)

# run_logged LOG COMMAND...: runs the command with its output in a file, and shows the end of it if the command fails.
run_logged() {
    local log=$1
    shift
    mkdir -p "$(dirname "$log")"
    "$@" >"$log" 2>&1 || {
        tail -n 40 "$log" >&2
        return 1
    }
}

# build_preset PRESET [TARGET...]: configures and builds one of CMakePresets.json.
build_preset() {
    local preset=$1
    shift
    run_logged "build/$preset.configure.log" cmake --preset "$preset" &&
        cmake --build --preset "$preset" -j "$jobs" ${1:+--target} "$@"
}

# test_preset PRESET: builds and tests one of CMakePresets.json.
test_preset() {
    build_preset "$1" && ctest --preset "$1" -j "$jobs" --no-tests=error --progress
}
