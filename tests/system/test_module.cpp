// SPDX-License-Identifier: MIT
// Loaded by dyna_lib_test.cpp.
extern "C" __attribute__((visibility("default"))) int answer();
int answer() { return 42; }
