#!/bin/sh
# Holds every include of the library against tools/layers.txt, and the rules that go with it:
#   - a folder includes itself and what stands above it there (in one line: to its left);
#   - "_WIN32" and <windows.h> stand only in platform/ (the hosts' header, which must stand alone,
#     may ask for the platform's calling convention);
#   - the stand-in's control header is for tests.
set -eu
cd "$(dirname "$0")/.."

git ls-files --cached --others --exclude-standard -- '*.h' '*.cc' '*.c' | awk '
  BEGIN {
    while ((getline line < "tools/layers.txt") > 0) {
      if (line ~ /^#/ || line == "") continue
      gsub(",", " ", line)
      n = split(line, part, " ")
      for (i = 1; i <= n; i++) rank[part[i]] = ++count
    }
  }
  # The longest listed folder that holds the path; "" for programs, tests and the like.
  function layer(path) {
    while (sub("/[^/]*$", "", path)) if (path in rank) return path
    return ""
  }
  function complain(text) { print file ":" number ": " text; bad = 1 }
  {
    file = $0; number = 0; own = layer(file)
    test = file ~ /^(tests|fuzz|bench)\//
    while ((getline line < file) > 0) {
      number++
      if (file !~ /^platform\// && file != "mapi/include/qvsmapi.h" && !test &&
          (line ~ /(^|[^A-Za-z0-9_])_WIN32([^A-Za-z0-9_]|$)/ || line ~ /#include *<windows\.h>/))
        complain("asks for the platform outside platform/")
      if (line !~ /^#include "/) continue
      split(line, quoted, "\""); target = quoted[2]
      if (target ~ /^platform\/host\// && own != "platform" && !test)
        complain("includes " target "; use platform/windows_api.h")
      used = layer(target)
      if (own == "" || used == "" || used == own) continue
      if (rank[used] > rank[own]) complain(own " may not include " target)
    }
    close(file)
  }
  END { exit bad }'
