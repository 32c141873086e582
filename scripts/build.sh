#!/usr/bin/env bash
# Installs what is missing, configures and builds one preset of CMakePresets.json into build/<preset>.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

preset=${1:?"usage: scripts/build.sh dev|release|asan"}

scripts/install-packages.sh
cmake --preset "$preset"
cmake --build --preset "$preset"
