# Shared by scripts/run and scripts/test.
top=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc 2>/dev/null || echo 2)

# configure <build-dir> [cmake args...]: configures once, reconfigures when args change.
configure() {
  local dir=$1
  shift
  local stamp="$dir/.tarn-cmake-args"
  local args="$*"
  if [ ! -f "$dir/build.ninja" ] || [ "$(cat "$stamp" 2>/dev/null)" != "$args" ]; then
    cmake -S "$top" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@" >/dev/null
    echo "$args" >"$stamp"
  fi
}
