// SPDX-License-Identifier: MIT
// Prints the value of each expression of the command line.
#include <loomkit/loomkit.h>

#include <cstdio>

int main(int argc, char** argv) {
  GRpnEval eval;
  bool good = true;
  for (int i = 1; i < argc; ++i) {
    double result = 0;
    const bool done = eval.evalFloat(argv[i], &result);  // a failure has been reported
    if (done) std::printf("%.15g\n", result);
    good = good && done;
  }
  return good ? 0 : 1;
}
