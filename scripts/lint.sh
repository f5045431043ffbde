#!/usr/bin/env bash
# The static quality gates, run by scripts/test.sh (and so by CI):
#   format  every C++ file of the tree (tracked or new) is formatted as the root .clang-format says
#   tidy    every product source (component, crypto, platform, cli, com, ui) is clean under the root
#           .clang-tidy. Sources the dev build compiles are checked with its compile_commands.json;
#           Windows-only sources (platform/windows, com, ...) with the mingw-x86_64 preset's,
#           through clang's mingw target and the mingw-w64 headers. A file that passed is
#           remembered (build/lint-cache) until it, a header of the tree, the build files or the
#           tools change; LUMIVEX_LINT_NO_CACHE=1 checks everything again.
# Usage: scripts/lint.sh [format] [tidy]   (both when none is named)
# A failure names each file and why, and the script exits 1.
set -euo pipefail
cd "$(dirname "$0")/.."

jobs=${LUMIVEX_JOBS:-2}
gates=("$@")
[ ${#gates[@]} -gt 0 ] || gates=(format tidy)
failed=0
work=$(mktemp -d "${TMPDIR:-/tmp}/lumivex-lint.XXXXXX")
trap 'rm -rf "$work"' EXIT

say() { echo "lint: $*"; }
fail() {
  echo "lint: FAILED: $*" >&2
  failed=1
}

# Files of the tree (tracked, or new and not ignored) that still exist, matching the patterns.
tree_files() {
  git ls-files --cached --others --exclude-standard -- "$@" | sort -u | while read -r file; do
    [ -f "$file" ] && echo "$file"
  done
}

format_gate() {
  local files
  mapfile -t files < <(tree_files '*.cpp' '*.h' '*.cc' '*.hpp')
  say "format: ${#files[@]} C++ files"
  if ! clang-format --dry-run --Werror "${files[@]}" >"$work/format.txt" 2>&1; then
    local file
    while read -r file; do
      fail "$file: not formatted as .clang-format says (run clang-format -i $file)"
    done < <(grep -o '^[^:]*\.\(cpp\|h\|cc\|hpp\):[0-9]*:[0-9]*: error' "$work/format.txt" |
      cut -d: -f1 | sort -u)
    grep -q ': error' "$work/format.txt" || fail "clang-format: $(head -n 5 "$work/format.txt")"
  fi
}

# The include directories of a mingw-w64 compiler, as clang-tidy arguments for clang's mingw
# target (its own intrinsics headers come with clang).
mingw_args() {
  local cxx=$1
  echo "--extra-arg=--target=x86_64-w64-mingw32"
  echo | "$cxx" -std=c++20 -E -x c++ - -v 2>&1 |
    sed -n '/#include <...> search starts here:/,/End of search list/p' | sed 's/^ *//' |
    while read -r dir; do
      case "$dir" in
        */include/c++* | */x86_64-w64-mingw32/include) echo "--extra-arg=-isystem$(readlink -f "$dir")" ;;
      esac
    done
}

in_database() { grep -qF "\"file\": \"$PWD/$2\"" "$1"; }

tidy_gate() {
  local sources dev=build/dev/compile_commands.json win=build/mingw-x86_64/compile_commands.json
  mapfile -t sources < <(tree_files 'component/*.cpp' 'crypto/*.cpp' 'platform/*.cpp' 'cli/*.cpp' \
    'com/*.cpp' 'ui/*.cpp')
  # Configuring is enough for the compile commands (and picks up sources added since).
  cmake --preset dev >"$work/configure-dev.txt" 2>&1 || {
    fail "cmake --preset dev: $(tail -n 5 "$work/configure-dev.txt")"
    return
  }
  local need_windows=""
  for file in "${sources[@]}"; do in_database "$dev" "$file" || need_windows=1; done
  local windows_args=()
  if [ -n "$need_windows" ]; then
    # The COM server's sources include the header widl writes from the type library.
    if cmake --preset mingw-x86_64 >"$work/configure-win.txt" 2>&1 &&
      cmake --build --preset mingw-x86_64 --target lumivex_typelib >>"$work/configure-win.txt" 2>&1; then
      local cxx
      cxx=$(grep -m1 -o '"command": "[^ ]*' "$win" | cut -d'"' -f4)
      mapfile -t windows_args < <(mingw_args "$cxx")
    else
      say "the mingw-x86_64 preset does not configure: Windows-only sources cannot be checked"
    fi
  fi
  # What every result depends on besides the file itself.
  local cache=build/lint-cache common
  mkdir -p "$cache"
  common=$({
    clang-tidy --version
    cat .clang-tidy CMakeLists.txt CMakePresets.json
    printf '%s\n' "${windows_args[@]}"
    tree_files '*.h' | xargs cat
  } | sha256sum | cut -d' ' -f1)
  : >"$work/tidy.list"
  local checked=0 preset stamp
  for file in "${sources[@]}"; do
    if in_database "$dev" "$file"; then
      preset=dev
    elif [ -f "$win" ] && in_database "$win" "$file"; then
      preset=win
    else
      fail "$file: compiled by neither the dev nor the mingw-x86_64 preset, so it cannot be checked"
      continue
    fi
    checked=$((checked + 1))
    stamp=$cache/$( (echo "$common $preset $file" && cat "$file") | sha256sum | cut -d' ' -f1)
    if [ -z "${LUMIVEX_LINT_NO_CACHE:-}" ] && [ -f "$stamp" ]; then continue; fi
    echo "$preset $file $stamp" >>"$work/tidy.list"
  done
  say "tidy: $checked product sources, $(wc -l <"$work/tidy.list") to check (others unchanged" \
    "since they passed), $jobs at a time"
  export work
  printf '%s\n' "${windows_args[@]}" >"$work/windows.args"
  # One clang-tidy a file; its diagnostics are kept in a log named after the file.
  xargs -r -P "$jobs" -L 1 bash -c '
    preset=$0 file=$1 stamp=$2 log="$work/tidy.$(echo "$1" | tr / _).log"
    extra=()
    database=build/dev
    if [ "$preset" = win ]; then
      mapfile -t extra <"$work/windows.args"
      database=build/mingw-x86_64
    fi
    if clang-tidy --quiet -p "$database" "${extra[@]}" "$file" >"$log" 2>&1; then
      touch "$stamp"
    else
      echo "$file" >>"$work/tidy.failed"
    fi' <"$work/tidy.list"
  if [ -f "$work/tidy.failed" ]; then
    local file
    while read -r file; do
      fail "$file: clang-tidy with .clang-tidy reports:"
      grep -E 'warning:|error:' "$work/tidy.$(echo "$file" | tr / _).log" | head -n 20 >&2 || true
    done < <(sort -u "$work/tidy.failed")
  fi
}

for gate in "${gates[@]}"; do
  start=$SECONDS
  case "$gate" in
    format) format_gate ;;
    tidy) tidy_gate ;;
    *)
      echo "usage: scripts/lint.sh [format] [tidy]" >&2
      exit 2
      ;;
  esac
  say "$gate: $((SECONDS - start)) s"
done
if [ "$failed" -ne 0 ]; then
  echo "lint: FAILED (see the lines above)" >&2
  exit 1
fi
say "all gates passed"
