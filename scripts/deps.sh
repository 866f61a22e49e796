# Sourced by the scripts: installs the Debian packages a script needs when they are
# missing. As root they are installed with apt-get; otherwise the missing ones are
# named with the command to run, and the script stops.
#   flio_need_packages cmake g++ zlib1g-dev ...
flio_need_packages() {
  local missing=() p
  for p in "$@"; do
    case $p in
      cmake) command -v cmake >/dev/null ;;
      g++) command -v g++ >/dev/null || command -v c++ >/dev/null ;;
      pkg-config) command -v pkg-config >/dev/null ;;
      zlib1g-dev) [ -f /usr/include/zlib.h ] ;;
      libdeflate-dev) [ -f /usr/include/libdeflate.h ] ;;
      libgtest-dev) [ -d /usr/include/gtest ] ;;
      libbenchmark-dev) [ -d /usr/include/benchmark ] ;;
      *) dpkg -s "$p" >/dev/null 2>&1 ;;
    esac || missing+=("$p")
  done
  [ ${#missing[@]} -eq 0 ] && return 0
  if [ "$(id -u)" = 0 ] && command -v apt-get >/dev/null; then
    echo "installing ${missing[*]}" >&2
    apt-get update -qq
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "${missing[@]}" >/dev/null
  else
    echo "missing packages; run: sudo apt-get install -y ${missing[*]}" >&2
    exit 1
  fi
}
