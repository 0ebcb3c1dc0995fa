# Shared by the scripts beside it: progress, packages, builds. Sourced, not run.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '%s\n' "tovi: $*" >&2; }
fail() { say "$*"; exit 1; }

build_packages=(g++ cmake ninja-build pkg-config libpcap-dev libknot-dev libsystemd-dev
                libsqlite3-dev libsodium-dev libplist-dev nlohmann-json3-dev zlib1g-dev libncurses-dev libbpf-dev)
run_packages=(dbus-daemon lsof dnsmasq-base)
run_targets=(ToviDaemon tovictl tovi-attach tovi-system-profiler tovi-directory)
# systemd for its busctl, which the tests drive the service with; the browser opens reports.
test_packages=(libgtest-dev chromium-headless-shell dbus-daemon iproute2 lsof python3-jeepney
               python3-jsonschema python3-pyte systemd)
# time is the program of that name, not the shell's word.
bench_packages=(libbenchmark-dev bind9-dnsutils dbus-daemon iproute2 lsof python3 systemd time
                valgrind)
package_packages=(dpkg-dev file)
# For the programs in the kernel, whose object is kept in the repository.
kernel_packages=(clang-16 bpftool libbpf-dev)
# Older releases of clang cannot build all of the sources; which newer ones there are differs between
# the releases of Debian.
clang_versions=(16 19)
check_packages=(git clang-format)

as_root() {
  if [ "$(id -u)" -eq 0 ]; then "$@"
  elif command -v sudo >/dev/null; then sudo "$@"
  else fail "root is needed for: $*"
  fi
}

# install PACKAGE...: those that are missing, with apt-get.
install() {
  local missing=() package
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
      missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  say "installing ${missing[*]}"
  local log
  log=$( { as_root apt-get update -qq &&
           as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
             --no-install-recommends "${missing[@]}"; } 2>&1 </dev/null) ||
    { printf '%s\n' "$log" | tail -n 15 >&2; fail "apt-get could not install them; see above"; }
}

# The first version of clang that is installed or that this release has.
clang_version() {
  local version
  for version in "${clang_versions[@]}"; do
    if command -v "clang++-$version" >/dev/null || apt-cache show "clang-$version" >/dev/null 2>&1
    then printf '%s\n' "$version"; return
    fi
  done
  fail "neither of clang ${clang_versions[*]} can be had here; is apt-get update needed?"
}

# build PRESET [TARGET...]: configures and builds one preset of CMakePresets.json.
build() {
  local preset=$1 log="build/$1.log" made_for
  shift
  # CMake refuses what it configured before the tree was copied or moved.
  made_for=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "build/$preset/CMakeCache.txt" 2>/dev/null) || true
  [ -z "$made_for" ] || [ "$made_for" -ef "$root" ] ||
    fail "build/$preset was made for $made_for, and not for $root; remove it: rm -r $root/build/$preset"
  mkdir -p build
  say "building ($preset)"
  { cmake --preset "$preset" && cmake --build --preset "$preset" ${1:+--target "$@"}; } \
    >"$log" 2>&1 </dev/null ||
    { grep -E -A5 'error|FAILED|CMake Error' "$log" | head -n 40 >&2
      fail "the build failed; the whole log is in $log"; }
}
