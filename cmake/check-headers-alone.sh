#!/bin/sh
# check-headers-alone.sh INCLUDE_DIRECTORY
#
# Fails when a header below INCLUDE_DIRECTORY/paintlayer does not compile by itself, or not without a warning. Each
# compiler that is there takes every header alone under one standard, and all in one file under the other.
set -u
cd "$1"
headers=$(find paintlayer -name '*.h' | LC_ALL=C sort)
[ -n "$headers" ] || { echo "No header in $1/paintlayer"; exit 1; }

# A header that begins with the include of another one reads that one alone before anything else: it stands for both.
readFirst=$(echo "$headers" | xargs awk '
    FNR == 1 { found = 0 }
    found || /^[ \t]*(\/\/.*)?$/ || /^#pragma once/ { next }
    { found = 1 }
    /^#include/ { gsub(/[<">]/, "", $2); print $2 }')
alone=$(echo "$headers" | grep -vxF "$readFirst")

compile='printf "#include <%s>\n" "$@" | $compiler -x c++ -std=$standard -fsyntax-only -Wall -Wextra -Wpedantic \
    -Wconversion -Werror -I . - || { echo "^^^ $compiler, $standard: $*"; exit 1; }'
status=0
for pair in g++:c++20:c++2b clang++:c++2b:c++20; do
    export compiler="${pair%%:*}"
    command -v "$compiler" >/dev/null || continue
    rest="${pair#*:}"
    export standard="${rest%:*}"
    echo "$alone" | xargs -P "$(nproc)" -n 1 sh -c "$compile" sh || status=1
    standard="${rest#*:}"
    echo "$headers" | xargs sh -c "$compile" sh || status=1
done
exit "$status"
