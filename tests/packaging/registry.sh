# Sourced by tests that compare the registry before and after: what stands in it. `run`, `root` and the
# folder `work` are the test's, and `registry_folder` where its prefix has no drive for that one.

# Like reg export, which takes its time: it asks for each key and each value.
registry_of() { # PART...
  local folder=${registry_folder:-$work} part long code
  cp "$root/build/win32/tests/packaging/save_registry.exe" "$folder"
  for part; do
    code=0
    (cd "$folder" && "$run" ./save_registry.exe "$part" part.reg) >"$work/part.log" 2>&1 </dev/null ||
      code=$?
    if [ $code = 44 ]; then
      echo "no $part"
      continue
    fi
    # What is printed here goes where the caller keeps the registry.
    [ $code = 0 ] || fail "the registry is not saved, $code: $(<"$work/part.log")" >&2
    long=${part/#HKLM/HKEY_LOCAL_MACHINE}
    # Keys with nothing but keys in them are not named in the file; times are of no interest.
    root=${long/#HKCU/HKEY_CURRENT_USER} awk '
      function show(key) {
        if (key in shown) return
        if (match(key, /\\[^\\]*$/) && key != ENVIRON["root"]) show(substr(key, 1, RSTART - 1))
        shown[key]
        print "\n[" key "]"
      }
      /^\[/ {
        sub(/^\[/, ""); sub(/\] [0-9]+$/, ""); gsub(/\\\\/, "\\")
        show(ENVIRON["root"] ($0 == "" ? "" : "\\" $0))
        next
      }
      !/^(#|;;|WINE REGISTRY|$)/' "$folder/part.reg"
  done
  rm -f "$folder/part.reg" "$folder/save_registry.exe"
}
