# Sourced by the front doors: what they share.

step() { printf '\n== %s\n' "$*"; }

# build PRESET [TARGET...]: everything when no target is named.
build() {
  local preset=$1
  shift
  step "Building: $preset"
  # Compilers and flags of the presets count when a folder is configured afresh, which building alone
  # does only once.
  local configured=build/$preset/configured_presets.json
  if [ ! -e "build/$preset/build.ninja" ] || ! cmp -s CMakePresets.json "$configured"; then
    mkdir -p build
    cmake --fresh --preset "$preset" >"build/configure-$preset.log" 2>&1 || {
      cat "build/configure-$preset.log"
      return 1
    }
    cp CMakePresets.json "$configured"
  fi
  cmake --build --preset "$preset" ${1:+--target "$@"} -- --quiet
}

# Ends the Wine server of the project's prefix and all that runs in it.
stop_wine() (
  . tools/wine/environment.sh
  wineserver -k 2>/dev/null || true
)
