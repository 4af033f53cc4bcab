// SPDX-License-Identifier: MIT
#include "loomkit/system/process.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "loomkit/platform/process.h"
#include "loomkit/platform/system.h"
#include "loomkit/system/command_line.h"
#include "loomkit/system/process_pipe.h"
#include "loomkit/text/output.h"

namespace platform = loomkit::platform;

namespace {

// The ends of the three pipes.
struct PipeEnds {
  int in = -1, out = -1, err = -1;
  int outRead = -1, errRead = -1;
};

}  // namespace

struct LOOMKIT_LOCAL GProcess::Data {
  platform::ChildProcess child;
  int stdInWrite = -1;
  std::optional<loomkit::ProcessPipe> stdInPipe, stdOutPipe, stdErrPipe;
  std::vector<int> ownHandles;  // to be closed with the object
  bool ownsStdIn = false;       // the same of stdInWrite

  int owners = 1;  // the GProcess objects that share this record

  Data() = default;
  Data(const Data&) = delete;
  Data& operator=(const Data&) = delete;
  ~Data();

  bool openPipes(const GProcess& process, PipeEnds* ends);
  bool startWith(const GProcess& process, int argc, const char** argv, const Settings& settings,
                 const PipeEnds& ends);
  void ownOnly(const PipeEnds& ends);
  void endChild();
};

namespace {

// Makes a pipe. This process's end goes to `pipe` if the stream is `used`; otherwise it
// is closed at once.
bool openPipe(bool childReads, bool used, const char* failure, int* childEnd, int* parentEnd,
              std::optional<loomkit::ProcessPipe>* pipe) {
  if (!platform::createPipe(childReads ? childEnd : parentEnd, childReads ? parentEnd : childEnd)) {
    systemError(failure);
    return false;
  }
  if (used) {
    pipe->emplace(*parentEnd);
  } else {
    platform::closeHandle(*parentEnd);
    *parentEnd = -1;
  }
  return true;
}

int millisecondsOf(double seconds) {
  constexpr double longest = 1e6;  // eleven days
  return static_cast<int>(std::min(std::max(seconds, 0.0), longest) * 1000);
}

int readFrom(std::optional<loomkit::ProcessPipe>& pipe, char* buffer, unsigned size) {
  return pipe ? pipe->readAll(buffer, size) : -1;
}

}  // namespace

GProcess::GProcess(const std::string& path, bool in, bool out, bool err)
    : impl(new Data), program(path), useStdIn(in), useStdOut(out), useStdErr(err) {}

GProcess::GProcess(const GProcess& other)
    : impl(other.impl),
      program(other.program),
      useStdIn(other.useStdIn),
      useStdOut(other.useStdOut),
      useStdErr(other.useStdErr) {
  ++impl->owners;
}

GProcess& GProcess::operator=(const GProcess& other) {
  if (this == &other) return *this;
  ++other.impl->owners;
  release();
  impl = other.impl;
  program = other.program;
  useStdIn = other.useStdIn;
  useStdOut = other.useStdOut;
  useStdErr = other.useStdErr;
  return *this;
}

GProcess::~GProcess() {
  impl->endChild();
  release();
}

void GProcess::release() {
  if (--impl->owners == 0) delete impl;
}

GProcess::Data::~Data() {
  endChild();
  for (const int handle : ownHandles) platform::closeHandle(handle);
  if (ownsStdIn && stdInWrite != -1) platform::closeHandle(stdInWrite);
}

// Also waits for the child, so that no zombie stays.
void GProcess::Data::endChild() {
  if (child.id == 0 || !platform::terminateProcess(&child) || !platform::waitForEnd(child)) return;
  unsigned code = 0;
  platform::processExitCode(&child, &code);
}

bool GProcess::Data::openPipes(const GProcess& process, PipeEnds* ends) {
  return openPipe(true, process.useStdIn, "Can't create pipe for stdin", &ends->in, &stdInWrite,
                  &stdInPipe) &&
         openPipe(false, process.useStdOut, "Can't create pipe for stdout", &ends->out,
                  &ends->outRead, &stdOutPipe) &&
         openPipe(false, process.useStdErr, "Can't create pipe for stderr", &ends->err,
                  &ends->errRead, &stdErrPipe);
}

bool GProcess::Data::startWith(const GProcess& process, int argc, const char** argv,
                               const Settings& settings, const PipeEnds& ends) {
  constexpr int ownStdIn = 0;
  platform::StartOptions options;
  options.directory = settings.directory;
  options.variables = settings.environment;
  options.ownGroup = settings.ownGroup;
  options.inheritAll = settings.inheritAll;
  const std::string line = loomkit::commandLine(process.program, argc, argv);
  const bool inherits = settings.inheritStdIn && !process.useStdIn;
  return platform::startProcess(line, inherits ? ownStdIn : ends.in, ends.out, ends.err, options,
                                &child);
}

// Closes the child's ends; those of this process close with the object.
void GProcess::Data::ownOnly(const PipeEnds& ends) {
  for (const int end : {ends.in, ends.out, ends.err}) {
    if (end != -1) platform::closeHandle(end);
  }
  ownsStdIn = true;
  for (const int end : {ends.outRead, ends.errRead}) {
    if (end != -1) ownHandles.push_back(end);
  }
}

bool GProcess::run(int argc, const char** argv) {
  const std::string line = loomkit::commandLine(program, argc, argv);
  PipeEnds ends;
  if (!impl->openPipes(*this, &ends)) return false;
  if (platform::startProcess(line, ends.in, ends.out, ends.err, {}, &impl->child)) return true;
  systemError("Can't create process");
  return false;
}

bool GProcess::run(int argc, const char** argv, const std::string& directory,
                   const std::vector<std::string>& environment) {
  PipeEnds ends;
  Settings settings;
  settings.directory = directory;
  settings.environment = environment;
  const bool opened = impl->openPipes(*this, &ends);
  const bool started = opened && impl->startWith(*this, argc, argv, settings, ends);
  if (opened && !started) systemError("Can't create process");
  impl->ownOnly(ends);
  return started;
}

bool GProcess::start(int argc, const char** argv, const Settings& settings) {
  PipeEnds ends;
  if (settings.inheritAll) return impl->startWith(*this, argc, argv, settings, ends);
  const bool started =
      impl->openPipes(*this, &ends) && impl->startWith(*this, argc, argv, settings, ends);
  impl->ownOnly(ends);
  return started;
}

long GProcess::getId() const { return impl->child.id; }

bool GProcess::kill() {
  if (impl->child.id == 0) return false;
  if (platform::terminateProcess(&impl->child)) return true;
  systemError("Can't terminate process");
  return false;
}

int GProcess::getExitCode(int& code) { return getExitCode(false, &code); }

int GProcess::getExitCode(bool wait, int* code) {
  if (impl->child.id == 0) return -1;
  for (;;) {
    unsigned result = 0;
    if (!platform::processExitCode(&impl->child, &result)) {
      systemError("Can't get process state");
      return -1;
    }
    if (result != platform::stillActive) {
      *code = static_cast<int>(result);
      return 1;
    }
    if (!wait) return 0;
    if (!platform::waitForEnd(impl->child)) {
      systemError("Failed to wait for child process");
      return -1;
    }
  }
}

int GProcess::writeStdIn(char* buffer, unsigned int size, bool /*flag*/) {
  return impl->stdInPipe ? impl->stdInPipe->writeAll(buffer, size) : -1;
}

int GProcess::readStdOut(char* buffer, unsigned int size, bool /*flag*/) {
  return readFrom(impl->stdOutPipe, buffer, size);
}

int GProcess::readStdErr(char* buffer, unsigned int size, bool /*flag*/) {
  return readFrom(impl->stdErrPipe, buffer, size);
}

void GProcess::setEnv(const std::string& name, const std::string& value) {
  platform::setEnvironment(name, value);
}

int GProcess::sendStdIn(const char* data, unsigned int size) {
  if (!impl->stdInPipe) return -1;
  unsigned count = 0;
  if (platform::writeHandle(impl->stdInWrite, data, size, &count)) return static_cast<int>(count);
  systemError("Can't write pipe");
  return -1;
}

bool GProcess::waitFor(double seconds) {
  return impl->child.id == 0 || platform::waitForEnd(impl->child, millisecondsOf(seconds));
}

int GProcess::readAvailableStdOut(char* buffer, unsigned int size, double seconds) {
  if (!impl->stdOutPipe) return -1;
  return impl->stdOutPipe->readAvailable(buffer, size, millisecondsOf(seconds));
}

int GProcess::readAvailableStdErr(char* buffer, unsigned int size, double seconds) {
  if (!impl->stdErrPipe) return -1;
  return impl->stdErrPipe->readAvailable(buffer, size, millisecondsOf(seconds));
}

bool GProcess::closeStdIn() {
  if (!impl->stdInPipe) return false;
  impl->stdInPipe.reset();
  platform::closeHandle(impl->stdInWrite);
  impl->stdInWrite = -1;
  return true;
}
