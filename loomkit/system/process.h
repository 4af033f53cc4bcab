// SPDX-License-Identifier: MIT
// GProcess: one child program and text to and from it through pipes.
//
//   GProcess child("sort", false, true, false);
//   const char* arguments[] = {"-n", "numbers"};
//   if (child.run(2, arguments)) child.readStdOut(buffer, 100, false);
#ifndef LOOMKIT_SYSTEM_PROCESS_H
#define LOOMKIT_SYSTEM_PROCESS_H

#include <string>
#include <vector>

#include "loomkit/platform/export.h"
#include "loomkit/platform/surprise.h"

/// Runs one program. Failures are false or -1, and the reason goes through
/// systemError(). One thread at a time uses an object; reading both output
/// streams from one thread can deadlock against a child that fills the other.
///
/// The pipes stay open when the object ends, and this process keeps the child's ends
/// too, so that reading never sees an end of the stream. Read as much as is expected,
/// and learn of the child's end by getExitCode(). The run() that is an Extension
/// behaves otherwise.
class LOOMKIT_API GProcess {
 public:
  /// Starts nothing. The flags tell which streams the caller will use; an
  /// unused standard input is at its end for the child.
  GProcess(const std::string& program, bool useStdIn, bool useStdOut, bool useStdErr);

  /// Ends a child that still runs, without a message.
  virtual ~GProcess();

  /// A copy shares the child and its pipes with the original. Copy objects that
  /// have started nothing: the first of the two to end takes the child with it.
  GProcess(const GProcess&);
  GProcess& operator=(const GProcess&);

  /// Starts the program with `argc` arguments; `argv` does not hold the program.
  /// To be called once.
  bool run(int argc, const char** argv);

  /// Ends the child with exit code 1. False without a message when there is none
  /// or its exit code has been seen.
  bool kill();

  /// Asks whether the child has ended. 1: it has, `code` holds its exit code, and the
  /// child is then gone for this object. 0: it still runs. -1: there is no child, or
  /// asking failed.
  int getExitCode(int& code);
  /// The same; with `wait` it waits for the child's end, and never gives 0.
  int getExitCode(bool wait, int* code);

  /// Sends `size` zero bytes, and clears the caller's buffer: it translates from an
  /// inner block, which nothing fills, into `buffer`. Hosts rely on its being so;
  /// sendStdIn() sends the caller's data. The flag, here and below, has no effect. The
  /// result is the number of bytes, or -1 for a stream that is not in use.
  LOOMKIT_SURPRISING("sends zero bytes and clears the buffer; sendStdIn() sends the data")
  int writeStdIn(char* buffer, unsigned int size, bool flag);

  /// Reads exactly `size` bytes of the child's standard output, waiting for them. A
  /// carriage return and a line feed come out as a line feed.
  int readStdOut(char* buffer, unsigned int size, bool flag);
  /// The same from the child's standard error.
  int readStdErr(char* buffer, unsigned int size, bool flag);

  /// Sets an environment variable that children started later inherit.
  static void setEnv(const std::string& name, const std::string& value);

  /// Extension: run() in another directory, unless that is empty, and with
  /// variables "NAME=VALUE" in place of or beside the inherited ones. Other than
  /// run() it keeps none of the child's ends, so that reading sees the end of a
  /// stream, and closes everything with the object.
  bool run(int argc, const char** argv, const std::string& directory,
           const std::vector<std::string>& environment);

  /// Extension: how start() is to start the program.
  struct Settings {
    std::string directory;                 ///< as of run() above
    std::vector<std::string> environment;  ///< as of run() above
    /// The child leads a process group of its own, which the terminal's Ctrl-C
    /// does not reach. Whoever stops it can then stop all that it has started.
    bool ownGroup = false;
    /// A standard input that is not in use is this process's.
    bool inheritStdIn = false;
    /// All three streams are this process's, none is in use here, and the child
    /// gets all other open files, too, and ignores the signals that are ignored
    /// here: as if it stood in this process's place.
    bool inheritAll = false;
  };

  /// Extension: run() as the settings want it. Of a program that cannot be started nothing
  /// is reported: after a
  /// failure errno says why, and where that is a path's fault it is the program's.
  bool start(int argc, const char** argv, const Settings& settings);

  /// Extension: the system's number of the child; 0 when there is none, or when
  /// its exit code has been seen.
  [[nodiscard]] long getId() const;

  /// Extension: waits for the child's end, at most so many seconds. True once
  /// it has ended, or if there is none; getExitCode() tells how.
  bool waitFor(double seconds);

  /// Extension: reads what the child has written to standard output, as it is, and
  /// waits for the first byte at most so many seconds. The number of bytes, at least
  /// 1; 0 when nothing came in time; -1 at the end of the stream, for one that is not
  /// in use, or after a failure.
  int readAvailableStdOut(char* buffer, unsigned int size, double seconds);
  /// Extension: the same from standard error.
  int readAvailableStdErr(char* buffer, unsigned int size, double seconds);

  /// Extension: sends the bytes as they are. Their number, or -1.
  int sendStdIn(const char* data, unsigned int size);

  /// Extension: ends the child's standard input. False if it is not in use or
  /// ended already.
  bool closeStdIn();

 private:
  struct Data;
  void release();

  Data* impl;  // shared and counted
  std::string program;
  bool useStdIn;
  bool useStdOut;
  bool useStdErr;
};

#endif  // LOOMKIT_SYSTEM_PROCESS_H
