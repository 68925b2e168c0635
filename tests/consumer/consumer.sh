#!/bin/sh
# Uses the library as another project would: from an installed prefix that has been moved since.
#
#   consumer.sh install|find_package|pkg_config|headers|documents|sharing|module_test|tool
#
# Environment: TREE, BUILD (a configured and built tree), WORK, CXX, COMPONENTS; for a cross build
# TOOLCHAIN, EMULATOR and SYSROOT as well.
set -eu
here=$TREE/tests/consumer
prefix=$WORK/prefix
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"

run() {
    # shellcheck disable=SC2086 # a command and its arguments, or nothing
    ${EMULATOR:-} "$@"
}

package() {
    pkg-config --define-variable=android_sysroot="${SYSROOT:-}" "$@" zelkcam_grallocutils
}

# compile SOURCE PROGRAM: the one line that the documents promise.
compile() {
    # shellcheck disable=SC2046 # pkg-config prints several words
    $CXX -std=c++20 "$1" $(package --cflags --libs) ${LINKER_FLAGS:-} -o "$2"
}

run_all() {
    for program in Client Replacement Published; do
        echo "$program:"
        run "$1/$program"
    done
}

install_package() {
    rm -rf "$WORK"
    mkdir -p "$WORK/first"
    for component in $COMPONENTS; do
        cmake --install "$BUILD" --prefix "$WORK/first" --component "$component"
    done >"$WORK/install.log"
    mv "$WORK/first" "$prefix"
}

find_package() {
    rm -rf "$WORK/cmake"
    cmake -S "$here" -B "$WORK/cmake" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" \
        ${TOOLCHAIN:+-DCMAKE_TOOLCHAIN_FILE="$TOOLCHAIN"} -DCMAKE_PREFIX_PATH="$prefix" \
        -DCMAKE_FIND_ROOT_PATH_MODE_PACKAGE=BOTH
    cmake --build "$WORK/cmake"
    run_all "$WORK/cmake"
}

pkg_config() {
    mkdir -p "$WORK/pkg-config"
    for program in Client Replacement Published; do
        compile "$here/$program.cpp" "$WORK/pkg-config/$program"
    done
    run_all "$WORK/pkg-config"
}

# Whatever is installed can be included. That each can be alone is shown in the source tree.
headers() {
    (cd "$prefix/include/zelkcam" && find utils platform -name '*.h') |
        sed 's/.*/#include "&"/' >"$WORK/headers.cpp"
    # shellcheck disable=SC2046 # pkg-config prints several words
    $CXX -std=c++20 -Wall -Wextra -Werror -fsyntax-only $(package --cflags) "$WORK/headers.cpp"
    if grep -rn '"host/' "$prefix/include/zelkcam"; then
        echo "an installed header includes one that is not installed"
        exit 1
    fi
}

# cut_out PAGE: its ```cpp blocks, each a whole program, as $WORK/PAGE/example<N>.cpp.
cut_out() {
    rm -rf "${WORK:?}/$1"
    mkdir -p "$WORK/$1"
    awk -v folder="$WORK/$1" '
        /^```cpp$/ { block++; inside = 1; next }
        /^```$/ { inside = 0 }
        inside { print > (folder "/example" block ".cpp") }' "$TREE/docs/$1.md"
    for example in "$WORK/$1"/*.cpp; do
        compile "$example" "${example%.cpp}"
    done
}

# The examples of one page run and end with 0, each by itself.
documents() {
    cut_out clients
    for example in "$WORK"/clients/*.cpp; do
        echo "$(basename "$example"):"
        run "${example%.cpp}"
    done
}

# Those of the other are two processes that share a buffer.
sharing() {
    cut_out sharing-buffers
    socket=$(mktemp -u)
    run "$WORK/sharing-buffers/example1" "$socket" &
    giver=$!
    trap 'kill $giver 2>/dev/null || true' EXIT
    until [ -S "$socket" ]; do
        kill -0 $giver
        sleep 0.1
    done
    run "$WORK/sharing-buffers/example2" "$socket"
    wait $giver
    trap - EXIT
    [ ! -e "$socket" ]
}

# cut_block PAGE LANGUAGE: the first block of that language.
cut_block() {
    awk -v open="^\`\`\`$2\$" '$0 ~ open { inside = 1; next } /^```$/ { if (inside) exit }
        inside' "$TREE/docs/$1.md"
}

# The page's program and its CMake file, as its reader has them.
module_test() {
    rm -rf "$WORK/module"
    mkdir -p "$WORK/module"
    cut_block testing-your-module cpp >"$WORK/module/preview_test.cpp"
    cut_block testing-your-module cmake >"$WORK/module/CMakeLists.txt"
    cmake -S "$WORK/module" -B "$WORK/module/build" -G Ninja -DCMAKE_CXX_COMPILER="$CXX" \
        -DCMAKE_PREFIX_PATH="$prefix"
    cmake --build "$WORK/module/build"
    ctest --test-dir "$WORK/module/build" --output-on-failure --no-tests=error
}

tool() {
    run "$prefix/bin/grallocinfo" query YCrCb_420_SP 1920x1080
    test -f "$prefix/share/man/man1/grallocinfo.1"
    test -f "$prefix/share/bash-completion/completions/grallocinfo"
}

case $1 in
install) install_package ;;
find_package | pkg_config | headers | documents | sharing | module_test | tool) $1 ;;
*) exit 2 ;;
esac
