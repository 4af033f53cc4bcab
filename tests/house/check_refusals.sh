#!/usr/bin/env bash
# SPDX-License-Identifier: MIT
# What hosts must not write is refused by the compiler, with one sentence that says
# why. check_refusals.sh COMPILER SOURCE_DIR
set -euo pipefail
compiler=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
problems=0

compile() {
  printf '%s\n' "$1" >"$work/host.cpp"
  "$compiler" -std=c++17 -fsyntax-only -Wall -Wextra -Werror "${@:2}" -I "$source" "$work/host.cpp" >"$work/log" 2>&1
}
fail() {
  echo "$1"
  cat "$work/host.cpp" "$work/log"
  problems=$((problems + 1))
}

# A function of the expression language, and the sentence that refuses it.
function_host() {
  printf '#include "loomkit/rpn/function_table.h"\n'
  printf 'struct Other {};\nvoid host(GRpnFunctionTable* table) { table->add("f", %s); }\n' "$1"
}
refused() {
  if compile "$(function_host "$1")"; then
    fail "this should not compile:"
  elif ! grep -q "$2" "$work/log" || [ "$(grep -c ' error: ' "$work/log")" != 1 ]; then
    fail "this should be refused with one error that says \"$2\":"
  fi
}
accepted() { compile "$(function_host "$1")" || fail "this should compile:"; }

accepted '[](int, unsigned, bool, std::string_view, const std::string&) { return true; }'
accepted '[](double, std::optional<int>, GRpnErrMsg*) -> std::optional<double> { return 1; }'
operand='a parameter is of a type that cannot be an operand'
refused '[](Other) {}' "$operand"
refused '[](const char*) {}' "$operand"
refused '[](std::string&) {}' "$operand"
refused '[](char) {}' "$operand"
refused '[](std::optional<Other>) {}' "$operand"
refused '[](GRpnErrMsg*, double) {}' "$operand"
refused '[](std::optional<int>, int) {}' 'behind a std::optional parameter all others'
refused '[] { return Other(); }' 'returns what cannot be pushed'
refused '[](auto x) { return x; }' 'a lambda with auto parameters does not tell its operands'
refused '1' 'takes a function or an object with one operator()'

# Calls that do not do what their names say: a warning that names another call, and
# none for a host that has switched it off.
surprises() {
  local host="#include <loomkit/$1>
$2"
  if compile "$host"; then
    fail "this should be warned of:"
  elif ! grep -q "deprecated.*$3\|$3.*deprecated" "$work/log"; then
    fail "the warning should name $3:"
  fi
  compile "$host" -DLOOMKIT_NO_SURPRISE_WARNINGS || fail "this should compile when it is meant:"
}
surprises streams/directory.h 'bool host() { return GDirectory("x").create(true); }' 'ensure()'
surprises system/process.h 'int host(GProcess* p, char* b) { return p->writeStdIn(b, 1, true); }' 'sendStdIn()'

[ "$problems" = 0 ] && echo "refusals: done"
exit "$problems"
