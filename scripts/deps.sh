#!/usr/bin/env bash
# Installs the Debian packages the build and the tests need, when they are missing.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config clang libclang-rt-14-dev clang-format clang-tidy
  libpcsclite-dev pcscd vsmartcard-vpcd pcsc-tools
  libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev libssl-dev
  g++-mingw-w64-i686 g++-mingw-w64-x86-64 mingw-w64-tools
  wine wine64 libwine-dev fonts-wine xvfb xauth imagemagick
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

if ((${#missing[@]})); then
  echo "Installing: ${missing[*]}"
  sudo_cmd=()
  [ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
  export DEBIAN_FRONTEND=noninteractive
  "${sudo_cmd[@]}" apt-get update -q
  "${sudo_cmd[@]}" apt-get install -y -q --no-install-recommends "${missing[@]}"
fi
