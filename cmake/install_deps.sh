#!/usr/bin/env bash
# Installs Debian packages, only those missing: the given ones, or by
# default those the build needs.
set -euo pipefail
# cyclonedds: the RTPS wire; CLI11, nlohmann-json, ncurses: the console;
# tmux: the console test in a real terminal; gcovr: coverage.
packages=(cmake ninja-build g++ make ccache googletest libgtest-dev libgmock-dev libbenchmark-dev
          cyclonedds-dev cyclonedds-tools libcli11-dev nlohmann-json3-dev libncurses-dev tmux gcovr)
if (($#)); then
  packages=("$@")
fi
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if ((${#missing[@]})); then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  echo "installing: ${missing[*]}"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
