#!/usr/bin/env bash
# build_deps.sh PREFIX: cross-builds the libraries that Debian has no Windows packages for, static, from Debian's own
# source packages. What PREFIX holds already, made by this very script, is left as it is. The sources and the objects
# stand in PREFIX.work until all is built. Each library's licence comes along, in PREFIX/licenses.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=tools/setup.sh
. "$here/../setup.sh"
if [ $# -ne 1 ] || [[ $1 == -* ]]; then misused "usage: tools/windows/build_deps.sh PREFIX"; fi
prefix=$(realpath -m "$1")
toolchain=$(realpath "$here/../../cmake/toolchain-mingw64.cmake")
work=$prefix.work
jobs=$(nproc)
target=x86_64-w64-mingw32
edition=$(cat "${BASH_SOURCE[0]}" "$toolchain" | sha256sum | cut -c1-16)

# Looks source packages up in lists of its own, so that neither root nor a change of the machine's sources is needed.
prepare_apt() {
  mkdir -p "$work/lists/partial" "$work/sources.d"
  local file
  for file in /etc/apt/sources.list.d/*.sources; do
    [ -e "$file" ] && sed 's/^Types:.*/Types: deb-src/' "$file" >"$work/sources.d/$(basename "$file")"
  done
  find /etc/apt/sources.list /etc/apt/sources.list.d -name '*.list' -exec sed -n 's/^deb /deb-src /p' {} + 2>/dev/null \
    >"$work/sources.d/all.list" || true
  apt_options=(-q -o "Dir::Etc::sourceparts=$work/sources.d" -o Dir::Etc::sourcelist=/dev/null
    -o "Dir::State::Lists=$work/lists" -o "APT::Sandbox::User=$(id -un)")
  apt-get "${apt_options[@]}" update
}

# fetch PACKAGE: unpacks the newest version that the archive really holds; a mirror may announce one that it lacks.
fetch() {
  local package=$1 version
  local -a versions
  mapfile -t versions < <(apt-cache "${apt_options[@]}" showsrc --only-source "$package" |
    sed -n 's/^Version: //p' | sort -Vur)
  for version in "${versions[@]}"; do
    (cd "$work" && apt-get "${apt_options[@]}" source --download-only --only-source "$package=$version") || continue
    rm -rf "${work:?}/$package"
    dpkg-source --no-check -x "$work/${package}_${version#*:}.dsc" "$work/$package"
    mkdir -p "$prefix/licenses"
    cp "$work/$package/debian/copyright" "$prefix/licenses/$package"
    return 0
  done
  echo "no source package of $package can be had" >&2
  return 1
}

build_with_cmake() {
  local package=$1
  shift
  cmake -S "$work/$package" -B "$work/$package.build" -G Ninja -DCMAKE_TOOLCHAIN_FILE="$toolchain" \
    -DQAI_WINDOWS_DEPS="$prefix" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX="$prefix" \
    -DBUILD_SHARED_LIBS=OFF "$@"
  cmake --build "$work/$package.build"
  cmake --install "$work/$package.build"
}

build_curl() {
  build_with_cmake curl -DCURL_USE_SCHANNEL=ON -DENABLE_UNICODE=ON -DHTTP_ONLY=ON -DCURL_ZLIB=ON -DCURL_BROTLI=OFF \
    -DCURL_ZSTD=OFF -DBUILD_CURL_EXE=OFF -DBUILD_TESTING=OFF -DENABLE_MANUAL=OFF -DCURL_USE_LIBSSH2=OFF \
    -DCURL_USE_LIBPSL=OFF -DUSE_LIBIDN2=OFF -DUSE_WIN32_LDAP=OFF
}

build_googletest() { build_with_cmake googletest -DCMAKE_CXX_STANDARD=20; }

build_sqlite3() {
  (
    cd "$work/sqlite3"
    ./configure --disable-readline
    make sqlite3.c
    # The kinds of virtual tables that Debian's library knows: a database may hold them.
    $target-gcc-posix -O2 -DSQLITE_THREADSAFE=1 -DSQLITE_ENABLE_FTS3 -DSQLITE_ENABLE_FTS4 -DSQLITE_ENABLE_FTS5 \
      -DSQLITE_ENABLE_RTREE -c sqlite3.c
    $target-ar rcs libsqlite3.a sqlite3.o
    install -D -m 644 -t "$prefix/lib" libsqlite3.a
    install -D -m 644 -t "$prefix/include" sqlite3.h
  )
}

build_utf8proc() { build_with_cmake utf8proc -DUTF8PROC_ENABLE_TESTING=OFF; }

build_openssl() {
  (
    cd "$work/openssl"
    CC=gcc-posix ./Configure mingw64 --cross-compile-prefix=$target- --prefix="$prefix" --libdir=lib \
      --openssldir=/no-such-folder no-shared no-tests no-dso no-engine no-legacy no-cms no-ts no-srp no-idea no-seed
    make -j "$jobs" build_libs
    make install_dev
  )
}

# The ones that are headers alone come from Debian's packages for every system. RapidJSON's own configuration there
# names /usr/include.
build_headers() {
  mkdir -p "$prefix/include" "$prefix/share/cmake/RapidJSON" "$prefix/licenses"
  # shellcheck disable=SC2016  # CMake is to expand it
  echo 'get_filename_component(RAPIDJSON_INCLUDE_DIRS "${CMAKE_CURRENT_LIST_DIR}/../../../include" ABSOLUTE)' \
    >"$prefix/share/cmake/RapidJSON/RapidJSONConfig.cmake"
  cp -r /usr/include/rapidjson /usr/include/CLI "$prefix/include"
  cp -r /usr/share/cmake/CLI11 "$prefix/share/cmake"
  cp /usr/share/doc/rapidjson-dev/copyright "$prefix/licenses/rapidjson"
  cp /usr/share/doc/libcli11-dev/copyright "$prefix/licenses/cli11"
  cp /usr/share/doc/libz-mingw-w64-dev/copyright "$prefix/licenses/zlib"
  cp /usr/share/doc/g++-mingw-w64-x86-64-posix/copyright "$prefix/licenses/gcc-mingw-w64"
}

prefix_is_current() { [ "$(cat "$prefix/edition" 2>/dev/null)" = "$edition" ]; }

prefix_is_current && exit 0
rm -rf "$prefix"
mkdir -p "$prefix" "$work"
prepare_apt
build_headers
for package in openssl curl googletest sqlite3 utf8proc; do
  fetch "$package"
  "build_$package"
done
echo "$edition" >"$prefix/edition"
rm -rf "$work"
