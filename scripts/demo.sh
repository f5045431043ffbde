#!/usr/bin/env bash
# The main job: installs what is missing, builds the release preset, and encodes a MIFARE Classic
# 1K card and a DESFire card on the built-in simulated reader (no hardware needed).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/deps.sh
cmake --preset release >/dev/null
cmake --build --preset release -j "$(nproc)" --target lumivex
exec build/release/bin/lumivex demo "$@"
