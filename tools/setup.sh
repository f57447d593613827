# Set-up that ./run, ./test, ./bench and the tools share; sourced by them. Messages go to standard error: standard output is for answers.
# shellcheck disable=SC2034  # the lists of packages are for those who source this

say() { printf '%s\n' "$*" >&2; }
fail() {
  say "$(basename "$0"): $*"
  exit 1
}

# misused SENTENCE: what is wrong with the arguments.
misused() {
  say "$(basename "$0"): $*"
  exit 2
}

# takes_none ARGUMENT…: for what takes no arguments.
takes_none() { [ $# -eq 0 ] || misused "takes no arguments, not $*"; }

# takes_number NAME [ARGUMENT…]: for what takes one number from 1 on, or nothing.
takes_number() {
  local name=$1
  shift
  [ $# -eq 0 ] || { [ $# -eq 1 ] && [[ $1 =~ ^[1-9][0-9]{0,8}$ ]]; } || misused "$name is a number from 1 on, not \"$*\""
}

# as_root COMMAND…: an ordinary user's through sudo.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# install_packages NAME…: installs those that are missing; silent when none is.
install_packages() {
  local missing=() package
  for package in $(printf '%s\n' "$@" | sort -u); do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -eq 0 ] && return
  command -v apt-get >/dev/null || fail "needs these Debian packages, and there is no apt-get here: ${missing[*]}"
  [ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
    fail "needs these packages; install them as root, or install sudo: ${missing[*]}"
  say "Installing ${missing[*]} …"
  local log
  log=$(mktemp)
  if ! { as_root apt-get update -q &&
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -q -y --no-install-recommends "${missing[@]}"; } \
    </dev/null >"$log" 2>&1; then
    tail -n 20 "$log" >&2
    rm -f "$log"
    fail "the packages could not be installed (see above)"
  fi
  rm -f "$log"
}

# unpack_packages FOLDER NAME…: puts the files of Debian packages into FOLDER, without installing the packages: a server
# that is installed is started at once and with the machine from then on, and configures itself under /etc. The
# libraries that the programs need must be installed. Silent when all is there.
unpack_packages() {
  local folder=$1 package
  shift
  [ "$(cat "$folder/packages" 2>/dev/null)" = "$*" ] && return
  command -v apt-get >/dev/null || fail "needs the files of these Debian packages, and there is no apt-get here: $*"
  say "Fetching $* …"
  rm -rf "$folder" "$folder.new"
  mkdir -p "$folder.new/archives"
  # The lists may name an edition that the archive has no longer.
  { fetch_archives "$folder.new/archives" "$@" || { update_lists && fetch_archives "$folder.new/archives" "$@"; }; } \
    </dev/null >"$folder.log" 2>&1 || build_failed "the packages could not be fetched" "$folder.log"
  for package in "$folder.new"/archives/*.deb; do dpkg-deb --extract "$package" "$folder.new"; done
  rm -r "$folder.new/archives"
  printf '%s\n' "$*" >"$folder.new/packages"
  mv "$folder.new" "$folder"
}

# fetch_archives FOLDER NAME…: apt-get asks for no root here.
fetch_archives() { (cd "$1" && shift && rm -f ./*.deb && apt-get download -q "$@"); }

update_lists() { as_root apt-get update -q; }

# prepare_windows: the libraries that Debian has no Windows packages for, unless QAI_WINDOWS_DEPS names a folder with
# them, and a Wine that is up.
prepare_windows() {
  mkdir -p build
  if [ -z "${QAI_WINDOWS_DEPS:-}" ]; then
    [ -e build/windows-deps/edition ] || say "Building the libraries for Windows (once; takes minutes) …"
    tools/windows/build_deps.sh build/windows-deps >build/windows-deps.log 2>&1 ||
      build_failed "the libraries for Windows could not be built" build/windows-deps.log
  fi
  tools/windows/run_wine.sh cmd.exe /c exit >build/wine.log 2>&1 || build_failed "Wine does not run" build/wine.log
}

# build PRESET [TARGET…]: configures and builds; silent when everything is up to date.
build() {
  local preset=$1 dir=build/$1 log=build/$1.log
  shift
  mkdir -p build
  if [ ! -f "$dir/build.ninja" ]; then
    say "Configuring the $preset build …"
    cmake --preset "$preset" >"$log" 2>&1 || build_failed "$preset could not be configured" "$log"
  fi
  ninja -C "$dir" -n "$@" 2>/dev/null | grep -q 'no work to do' && return
  say "Building ($preset; the first time takes minutes) …"
  ninja -C "$dir" "$@" >"$log" 2>&1 || build_failed "$preset could not be built" "$log"
}

build_failed() {
  grep -n -m 20 -E -A 3 'error|Error|FAILED' "$2" >&2 || tail -n 30 "$2" >&2
  fail "$1; the whole output is in $2"
}

run_packages=(g++ cmake ninja-build pkg-config ca-certificates libcurl4-openssl-dev rapidjson-dev libssl-dev
  libcli11-dev libedit-dev libsqlite3-dev libutf8proc-dev sqlite3)
# The builds that are tested hold the benches, too.
test_packages=(abigail-tools git libbenchmark-dev libgtest-dev libgmock-dev libssl-dev zlib1g-dev clang binutils valgrind
  doxygen)
# What tests/real runs, unpacked into build/servers; and the libraries of these programs, with what sets up networks.
server_packages=(squid squid-common squid-langpack nginx nftables)
server_libraries=(libecap3 libedit2 libgssapi-krb5-2 libltdl7 libnetfilter-conntrack3 libnftables1 libpcre2-8-0 iproute2)
windows_packages=(g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 libgnutls30 dpkg-dev make perl tcl)
fuzz_packages=(clang libclang-rt-14-dev llvm)
bench_packages=(libbenchmark-dev libssl-dev)
coverage_packages=(gcovr)
static_packages=(clang clang-format clang-tidy cppcheck python3-jsonschema shellcheck)
release_packages=(binutils dpkg-dev file git lintian)
