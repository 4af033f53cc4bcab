// SPDX-License-Identifier: MIT
// What loom asks of the machine beside the C++ library. posix/ and win32/ hold the answers.
#ifndef LOOM_TERMINAL_H
#define LOOM_TERMINAL_H

#include <cstdio>
#include <string>
#include <string_view>

namespace loom {

/// The three standard streams.
enum class StandardStream { input = 0, output = 1, error = 2 };

/// Makes the streams carry bytes as they are, and terminals understand UTF-8; to be called
/// first of all.
void prepareStandardStreams();

/// True when a person sits at the other end of the stream.
[[nodiscard]] bool isTerminal(StandardStream stream);

/// How many columns the terminal at the other end of the stream has; 0 when there is
/// no terminal, or when it does not tell.
[[nodiscard]] std::size_t terminalWidth(StandardStream stream);

/// True when a terminal there understands how to clear a line: one that is not dumb.
[[nodiscard]] bool canClearLines();

/// True when loom is what the person at the stream's terminal has started last, and
/// not a job in the background, which is to leave the screen alone.
[[nodiscard]] bool isInForeground(StandardStream stream);

/// Whether `error`, with which writing to standard output has failed, says that its reader
/// has gone away.
[[nodiscard]] bool isClosedPipe(int error);

/// Writes past every buffer, as a signal handler may. What cannot be written is lost.
void writeAtOnce(StandardStream stream, std::string_view text);

/// Reads what is there, at least one byte, waiting only for the first; past
/// the file's own buffer, so do not mix with other reads. 0 at the end; below
/// 0 after an error, which errno then holds.
[[nodiscard]] long readSome(std::FILE* file, char* buffer, std::size_t size);

/// Asks at the terminal itself, whatever the standard streams are, and reads a
/// line that is not shown. False when there is no terminal.
[[nodiscard]] bool askSecretly(const std::string& prompt, std::string* answer);

}  // namespace loom

#endif  // LOOM_TERMINAL_H
