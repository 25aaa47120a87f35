#!/usr/bin/env bash
# Cross-builds the DLLs and test programs for 64-bit Windows with MinGW-w64
# and runs the tests under Wine through CTest. Installs the cross compiler
# and Wine when they are missing. Usage: test_windows.sh BUILD_DIR JOBS
set -euo pipefail
cd "$(dirname "$0")/.."
build="$1"
jobs="$2"

cmake/install_deps.sh gcc-mingw-w64-x86-64-posix g++-mingw-w64-x86-64-posix wine64 wine

# The IDL compiler runs on this machine: built natively first.
[ -f "$build/normal/build.ninja" ] || cmake -S . -B "$build/normal" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build/normal" -j "$jobs" --target zelidl
[ -f "$build/windows/build.ninja" ] || cmake -S . -B "$build/windows" -G Ninja \
  -DCMAKE_TOOLCHAIN_FILE=cmake/toolchain-mingw-w64.cmake -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DZEL_BUILD_BENCH=OFF -DZELIDL_EXECUTABLE="$PWD/$build/normal/bin/zelidl"
cmake --build "$build/windows" -j "$jobs"

# Wine: quiet, headless, one prefix per build, made before CTest starts.
export WINEPREFIX="$PWD/$build/windows/wineprefix"
export WINEDEBUG=-all
export WINEDLLOVERRIDES="mscoree,mshtml="
unset DISPLAY
if [ ! -f "$WINEPREFIX/system.reg" ]; then
  wineboot -i > /dev/null 2>&1
  # A crash must end the program with an error, not start a debugger that
  # waits or lets it exit 0.
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' \
    /v Debugger /d 'zel-no-debugger.exe' /f > /dev/null 2>&1
  wine reg add 'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' \
    /v Auto /d 1 /f > /dev/null 2>&1
  # The prefix is complete only once its first server has gone.
  wineserver -w
fi
# A persistent server spares each test the server's start and stop (it
# fails when one is running already, which is as good).
wineserver -p 2>/dev/null || true
trap 'wineserver -k 2>/dev/null || true' EXIT
# Wine's own services (desktop, device and RPC services) start with the
# first program and live on; started here, they do not hold the output
# pipes through which CTest reads a test program.
wineboot > /dev/null 2>&1 < /dev/null
cd "$build/windows"
ctest --output-on-failure -j "$jobs"
