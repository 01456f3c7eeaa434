#!/usr/bin/env bash
# Every C++ file as clang-format lays it out.
set -euo pipefail
cd "$(dirname "$(realpath "$0")")/../.."
find src driver bench tests tools \( -name '*.cpp' -o -name '*.h' \) -print0 | xargs -0 clang-format --dry-run -Werror
