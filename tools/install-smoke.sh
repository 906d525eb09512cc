#!/bin/sh
# Installs the build into a temporary prefix and builds a C program against
# it twice: through pkg-config and through CMake's find_package.
# usage: install-smoke.sh BUILD_DIR
set -eu
build=$1
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cat > "$tmp/app.c" <<'C'
#include <nyx.h>
#include <string.h>
int main(void) {
  Nyx8u a = 2, b = 3, d = 0;
  NyxiSize roi = {1, 1};
  if (nyxiAdd_8u_C1RSfs(&a, 1, &b, 1, &d, 1, roi, 0) != nyxStsNoErr || d != 5) return 1;
  return strcmp(nyxiGetLibVersion()->Name, "nyxIP AVX-10.2 (d1)") != 0;
}
C
PKG_CONFIG_PATH="$tmp/prefix/lib/pkgconfig"
export PKG_CONFIG_PATH
cc "$tmp/app.c" -o "$tmp/app_pc" $(pkg-config --cflags --libs nyx) -Wl,-rpath,"$tmp/prefix/lib"
"$tmp/app_pc"
mkdir "$tmp/cmk"
cat > "$tmp/cmk/CMakeLists.txt" <<CM
cmake_minimum_required(VERSION 3.20)
project(app C)
find_package(nyx REQUIRED)
add_executable(app $tmp/app.c)
target_link_libraries(app PRIVATE nyx::nyxid1)
CM
cmake -S "$tmp/cmk" -B "$tmp/cmk/b" -G Ninja -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/cmk/b" >/dev/null
"$tmp/cmk/b/app"
echo "install smoke: pkg-config and find_package both work"
