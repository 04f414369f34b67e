#!/usr/bin/env bash
# Prints the largest source files (lines) and the longest functions (lines from the line that
# opens the body's head to its closing brace) of the project's own C++ code.
#
#   sizes.sh [COUNT]    COUNT: how many of each to show (default 10)
#
# Functions are found from the brace structure of clang-formatted code: a block whose head (the
# text since the previous ";", "{" or "}") has a "(" before any "=" and that opens outside any
# other function is a function; namespaces, classes, structs, enums and initialisers are not.
# Lambdas and local classes count as part of the function holding them.
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
count="${1:-10}"
cd "$root"
mapfile -t files < <(git ls-files '*.cpp' '*.h' | grep -v '/corpus/')

echo "Largest files (lines):"
wc -l "${files[@]}" | grep -v ' total$' | sort -rn | head -n "$count"

echo
echo "Longest functions (lines):"
awk '
  FNR == 1 { depth = 0; fn = -1; head = ""; comment = 0 }
  {
    line = $0
    # Strip block comments, line comments, and string and character literals.
    if (comment) { if (sub(/.*\*\//, "", line)) comment = 0; else next }
    gsub(/\/\*([^*]|\*[^\/])*\*\//, "", line)
    if (sub(/\/\*.*/, "", line)) comment = 1
    sub(/\/\/.*/, "", line)
    gsub(/\\./, "", line)
    gsub(/"[^"]*"/, "\"\"", line)
    gsub(/\047[^\047]*\047/, "0", line)
    if (line ~ /^[ \t]*#/) next
    for (i = 1; i <= length(line); i++) {
      c = substr(line, i, 1)
      if (c == "{") {
        if (fn < 0 && IsFunction(head)) { fn = depth; start = headLine; name = NameOf(head) }
        depth++; head = ""
      } else if (c == "}") {
        depth--; head = ""
        if (fn >= 0 && depth == fn) {
          printf "%6d %s:%d %s\n", FNR - start + 1, FILENAME, start, name
          fn = -1
        }
      } else if (c == ";") {
        head = ""
      } else {
        if (head ~ /^[ \t]*$/ && c !~ /[ \t]/) headLine = FNR
        head = head c
      }
    }
    head = head " "
  }
  function IsFunction(h,    p, q) {
    if (h ~ /(^|[^A-Za-z_])(namespace|class|struct|enum|union|extern)([^A-Za-z_]|$)/) return 0
    p = index(h, "("); q = index(h, "=")
    if (p == 0 || (q > 0 && q < p)) return 0
    return h !~ /^[ \t]*(if|for|while|switch|do|else|return|catch|try)([^A-Za-z_]|$)/
  }
  function NameOf(h,    name) {
    name = h
    sub(/\(.*/, "", name)
    sub(/^.*[ \t*&]/, "", name)
    if (name == "TEST" || name == "TEST_F") {  # a test: its suite and name
      sub(/^[^(]*\(/, "", h)
      sub(/\).*/, "", h)
      gsub(/[ \t]+/, "", h)
      name = name "(" h ")"
    }
    return name
  }
' "${files[@]}" | sort -rn | head -n "$count"
