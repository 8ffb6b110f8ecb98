# What has to be installed, as Debian 12 names it, and the one way to install it. Sourced by the commands.

build_packages=(
  g++ cmake ninja-build pkg-config
  libcpprest-dev libjsonparser-dev libpacparser-dev libssl-dev libcurl4-openssl-dev
  zlib1g-dev libsqlite3-dev libspdlog-dev libcli11-dev libboost-dev libboost-system-dev
  libmnl-dev uuid-dev libutfcpp-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev
)
run_packages=(curl)
test_packages=(tinyproxy squid openssl iproute2 binutils locales)
bench_packages=(libbenchmark-dev rapidjson-dev jq)
check_packages=(clang clang-format git python3)

# need_packages NAME... : installs those that are missing; nothing is asked and no service is started.
need_packages() {
  local missing=() name
  for name in "$@"; do
    [ "$(dpkg-query -W -f '${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  echo "installing: ${missing[*]}" >&2
  local as_root=()
  [ "$(id -u)" = 0 ] || as_root=(sudo)
  "${as_root[@]}" env RUNLEVEL=1 DEBIAN_FRONTEND=noninteractive sh -c \
    'apt-get update -qq && apt-get install -y -qq --no-install-recommends "$@"' apt "${missing[@]}" >/dev/null ||
    { echo "these packages could not be installed: ${missing[*]}" >&2; return 1; }
}

# build_preset NAME [TARGET...]
build_preset() {
  local preset=$1 said
  shift
  said=$(cmake --preset "$preset" 2>&1) || { echo "$said" >&2; return 1; }
  cmake --build --preset "$preset" ${1:+--target "$@"}
}
