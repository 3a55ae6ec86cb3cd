#!/usr/bin/env bash
# Does what README says, to the letter: its command blocks are cut out of it by the marks in front of them and run, each in a
# fresh copy of the sources, and its program is compiled and run against what they give.
#
#     tests/install/ways_in.sh WORK [COMPILER]...     each compiler in C++17 and C++20, or CXX alone in C++17
#     VELMORA_WAYS="install windows" ...              of install, subdirectory and windows; all when not set
set -euo pipefail
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
readme=$source/README.md
mkdir -p "$1"
work=$(cd "$1" && pwd)
shift
compilers=("$@")
standards=(17 20)
if [ ${#compilers[@]} -eq 0 ]; then
    compilers=("${CXX:-g++}")
    standards=(17)
fi
strict=(-Wall -Wextra -Wpedantic -Wshadow -Werror)

# The block after the mark <!-- NAME -->, or the first block of a language.
block() {
    awk -v mark="<!-- $1 -->" '$0 == mark {found = 1; next} found && /^```/ {if (inside) exit; inside = 1; next} inside' "$readme"
}
program() { awk '/^```cpp$/ {inside = 1; next} inside && /^```$/ {exit} inside' "$readme"; }

# Runs a block in a folder with PREFIX filled in. A block that is not there is a failure.
run_block() {
    local commands
    commands=$(block "$1")
    [ -n "$commands" ] || { echo "README has no block $1" >&2; exit 1; }
    (cd "$2" && bash -euo pipefail -c "${commands//PREFIX/$3}") >"$work/log" 2>&1 || { cat "$work/log" >&2; exit 1; }
    if grep -i 'warning' "$work/log" >&2; then
        echo "README's block $1 does not pass without a warning" >&2
        exit 1
    fi
}

fresh_sources() {
    rm -rf "$1"
    mkdir -p "$1"
    (cd "$source" && git ls-files -z --cached --others --exclude-standard | xargs -0 cp --parents -t "$1" 2>/dev/null)
}

# Compares the program's output for the example with README's.
expect_output() {
    local expected
    expected=$(printf 'language = eng\nwindow.title = Notes & Tasks')
    grep -qF 'language = eng' "$readme" && grep -qF 'window.title = Notes & Tasks' "$readme"
    [ "$(tr -d '\r' | head -n 2)" = "$expected" ] || { echo "$1: the program does not print what README says" >&2; exit 1; }
    echo "ok: $1"
}

# A project of the user's, whose CMake lines are README's.
consumer() { # FOLDER BLOCK
    rm -rf "$1"
    mkdir -p "$1"
    program >"$1/program.cpp"
    {
        echo 'cmake_minimum_required(VERSION 3.25)'
        echo 'project(program LANGUAGES CXX)'
        echo 'add_executable(program program.cpp)'
        block "$2"
        echo 'file(WRITE "${CMAKE_BINARY_DIR}/lang_dir" "${velmora_LANG_DIR}/")'
        echo "target_compile_options(program PRIVATE ${strict[*]})"
        echo 'install(TARGETS program)'
    } >"$1/CMakeLists.txt"
}

# Headers of an installed package count as the system's, whose warnings are not shown: here they are.
build_consumer() { # FOLDER BUILD OPTIONS...
    local folder=$1 build=$2
    shift 2
    { cmake -S "$folder" -B "$build" -G Ninja -DCMAKE_NO_SYSTEM_FROM_IMPORTED=ON "$@" && cmake --build "$build"; } >"$work/log" 2>&1 ||
        { cat "$work/log" >&2; exit 1; }
}

way_install() {
    local prefix=$work/prefix compiler standard build file
    rm -rf "$prefix"
    fresh_sources "$work/sources"
    run_block install "$work/sources" "$prefix"
    "$prefix/bin/velmora" --lang ger lng check "$prefix/share/velmora/lang/velmora.ger.lng" >/dev/null
    for file in man/man1/velmora.1 bash-completion/completions/velmora; do
        [ -s "$prefix/share/$file" ] || { echo "share/$file has not been installed" >&2; exit 1; }
    done
    consumer "$work/found" find_package
    for compiler in "${compilers[@]}"; do
        for standard in "${standards[@]}"; do
            build=$work/found/build-$compiler-$standard
            build_consumer "$work/found" "$build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
                -DCMAKE_CXX_STANDARD="$standard"
            "$build/program" "$source/examples/data/settings.xml" "$(cat "$build/lang_dir")" |
                expect_output "find_package, $compiler, C++$standard"
        done
        # The compiler that README's line calls c++; afterwards from another place.
        rm -rf "$work/piped" "$work/tools"
        mkdir -p "$work/piped" "$work/tools"
        ln -s "$(command -v "$compiler")" "$work/tools/c++"
        program >"$work/piped/program.cpp"
        cp "$source/examples/data/settings.xml" "$work/piped"
        PATH=$work/tools:$PATH run_block pkg-config "$work/piped" "$prefix"
        expect_output "pkg-config, $compiler" <"$work/log"
        mv "$prefix" "$prefix.moved"
        PATH=$work/tools:$PATH run_block pkg-config "$work/piped" "$prefix.moved"
        expect_output "pkg-config, moved, $compiler" <"$work/log"
        mv "$prefix.moved" "$prefix"
    done
}

way_subdirectory() {
    local compiler standard build
    consumer "$work/holder" add_subdirectory
    fresh_sources "$work/holder/velmora"
    for compiler in "${compilers[@]}"; do
        for standard in "${standards[@]}"; do
            build=$work/holder/build-$compiler-$standard
            build_consumer "$work/holder" "$build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_STANDARD="$standard" \
                -DCMAKE_BUILD_TYPE=Release
            "$build/program" "$source/examples/data/settings.xml" "$(cat "$build/lang_dir")" |
                expect_output "add_subdirectory, $compiler, C++$standard"
            cmake --install "$build" --prefix "$build/installed" >/dev/null
            LD_LIBRARY_PATH=$build/installed/lib "$build/installed/bin/program" "$source/examples/data/settings.xml" \
                "$build/installed/share/velmora/lang/" | expect_output "add_subdirectory, installed, $compiler, C++$standard"
            "$build/installed/bin/velmora" check "$source/examples/data/settings.xml" >/dev/null
        done
    done
}

way_windows() {
    local prefix=$work/windows-prefix build=$work/windows-consumer/build
    export WINEDEBUG=-all WINEPREFIX=$work/wine
    wine hostname </dev/null >/dev/null 2>&1 || true
    rm -rf "$prefix"
    fresh_sources "$work/windows-sources"
    run_block windows "$work/windows-sources" "$prefix"
    wine "$prefix/bin/velmora.exe" check "$source/examples/data/settings.xml" </dev/null >/dev/null
    consumer "$work/windows-consumer" find_package
    build_consumer "$work/windows-consumer" "$build" --toolchain "$source/cmake/mingw.cmake" -DCMAKE_PREFIX_PATH="$prefix"
    cp "$prefix"/bin/*.dll "$build"
    wine "$build/program.exe" "$source/examples/data/settings.xml" "$(cat "$build/lang_dir")" </dev/null |
        expect_output "find_package, MinGW"
}

for way in ${VELMORA_WAYS:-install subdirectory windows}; do
    "way_$way"
done
