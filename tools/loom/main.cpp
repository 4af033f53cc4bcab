// SPDX-License-Identifier: MIT
// loom: the library from the command line.
#include <cstring>
#include <exception>
#include <new>

#include "command_line.h"
#include "console.h"
#include "interruption.h"
#include "terminal.h"

namespace {

using loom::ExitCode;

ExitCode report(ExitCode code, const std::string& text) {
  loom::complain(text);
  return code;
}

// A reader that has gone away wanted no more: nothing is said about it.
ExitCode reportWrite(int error) {
  if (loom::isClosedPipe(error)) return ExitCode::cannotWrite;
  return report(ExitCode::cannotWrite, std::string("cannot write: ") + std::strerror(error));
}

ExitCode run(int argc, char** argv) {
  try {
    const ExitCode code = loom::runCommandLine({argv + (argc > 0 ? 1 : 0), argv + argc});
    loom::flushResults();
    return code;
  } catch (const loom::Failure& failure) {
    loom::complain(failure.what());
    if (!failure.hint.empty()) loom::complainPlainly(failure.hint);
    return failure.code;
  } catch (const loom::WriteFailure& failure) {
    return reportWrite(failure.error);
  } catch (const std::bad_alloc&) {
    return report(ExitCode::internal, "out of memory");
  } catch (const std::exception& error) {
    return report(ExitCode::internal, std::string("internal error: ") + error.what());
  }
}

}  // namespace

int main(int argc, char** argv) {
  loom::prepareStandardStreams();
  loom::cleanUpOnSignals();
  loom::ConsoleOutput channel;
  GOutput* const previous = gOutput;
  gOutput = &channel;
  const ExitCode code = run(argc, argv);
  gOutput = previous;
  return static_cast<int>(code);
}
