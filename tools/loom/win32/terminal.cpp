// SPDX-License-Identifier: MIT
#include "../terminal.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <iterator>

#include "../interruption.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

using loomkit::platform::OwnedHandle;

HANDLE handleOf(StandardStream stream) {
  constexpr DWORD names[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  return ::GetStdHandle(names[static_cast<int>(stream)]);
}

// Only a console has a mode.
bool isConsole(HANDLE handle) {
  DWORD mode = 0;
  return ::GetConsoleMode(handle, &mode) != 0;
}

// The console that does not show what is typed, and how it was before.
std::atomic<HANDLE> hiding{nullptr};
DWORD shown = 0;

void showAgain() {
  const HANDLE console = hiding.exchange(nullptr);
  if (console != nullptr) ::SetConsoleMode(console, shown);
}

// The code page of the console before it had loom's UTF-8.
UINT codePageBefore = 0;

void restoreCodePage() { ::SetConsoleOutputCP(codePageBefore); }

// Has a console obey the sequences for colours and clearing, which it does from Windows
// 10 on.
void enableSequences(StandardStream stream) {
  DWORD mode = 0;
  if (::GetConsoleMode(handleOf(stream), &mode) != 0)
    ::SetConsoleMode(handleOf(stream), mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

bool obeysSequences(StandardStream stream) {
  DWORD mode = 0;
  return ::GetConsoleMode(handleOf(stream), &mode) != 0 &&
         (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

// What is typed, as UTF-8 with "\n" at the ends of lines; a console itself gives only
// UTF-16 for every character there is. Ctrl-Z at the begin of a line is the end.
long readConsole(HANDLE console, char* buffer, std::size_t size) {
  static wchar_t pending = 0;  // the first half of a character whose second one is next
  wchar_t wide[512];
  wide[0] = pending;
  const DWORD begin = pending != 0 ? 1 : 0;
  // One unit is at most three bytes of UTF-8.
  const auto room = static_cast<DWORD>(std::min(size / 3, std::size(wide)));
  DWORD count = 0;
  if (room <= begin || ::ReadConsoleW(console, wide + begin, room - begin, &count, nullptr) == 0)
    return -1;
  constexpr wchar_t controlZ = 0x1A;
  if (count == 0 || wide[begin] == controlZ) return 0;
  count += begin;
  pending = IS_HIGH_SURROGATE(wide[count - 1]) ? wide[--count] : L'\0';
  wchar_t* const end = std::remove(wide, wide + count, L'\r');
  return ::WideCharToMultiByte(CP_UTF8, 0, wide, static_cast<int>(end - wide), buffer,
                               static_cast<int>(size), nullptr, nullptr);
}

OwnedHandle openConsole(const char* name) {
  return OwnedHandle(::CreateFileA(name, GENERIC_READ | GENERIC_WRITE,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                   nullptr));
}

}  // namespace

void prepareStandardStreams() {
  // Results are the same bytes as on every other system.
  for (const int stream : {0, 1, 2}) ::_setmode(stream, _O_BINARY);
  for (const StandardStream stream : {StandardStream::output, StandardStream::error})
    enableSequences(stream);
  codePageBefore = ::GetConsoleOutputCP();
  if (codePageBefore == 0 || codePageBefore == CP_UTF8) return;
  ::SetConsoleOutputCP(CP_UTF8);
  std::atexit(restoreCodePage);
  addCleanup(restoreCodePage);
}

bool isTerminal(StandardStream stream) { return isConsole(handleOf(stream)); }

std::size_t terminalWidth(StandardStream stream) {
  CONSOLE_SCREEN_BUFFER_INFO info{};
  if (::GetConsoleScreenBufferInfo(handleOf(stream), &info) == 0) return 0;
  return static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
}

// The C library has no number of its own for what the system says of a pipe in this state.
bool isClosedPipe(int error) {
  return error == EPIPE ||
         (error == EINVAL && ::GetFileType(handleOf(StandardStream::output)) == FILE_TYPE_PIPE);
}

bool canClearLines() {
  return obeysSequences(StandardStream::error) || obeysSequences(StandardStream::output);
}

// Consoles have no jobs in the background.
bool isInForeground(StandardStream /*stream*/) { return true; }

void writeAtOnce(StandardStream stream, std::string_view text) {
  DWORD written = 0;
  ::WriteFile(handleOf(stream), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

long readSome(std::FILE* file, char* buffer, std::size_t size) {
  const HANDLE input = handleOf(StandardStream::input);
  if (::_fileno(file) == 0 && isConsole(input)) return readConsole(input, buffer, size);
  constexpr std::size_t most = 1U << 30U;
  return ::_read(::_fileno(file), buffer, static_cast<unsigned>(std::min(size, most)));
}

bool askSecretly(const std::string& prompt, std::string* answer) {
  const OwnedHandle input = openConsole("CONIN$");
  const OwnedHandle output = openConsole("CONOUT$");
  if (!input.isOpen() || !output.isOpen() || ::GetConsoleMode(input.get(), &shown) == 0)
    return false;
  hiding = input.get();
  addCleanup(showAgain);
  ::SetConsoleMode(input.get(), shown & ~DWORD{ENABLE_ECHO_INPUT});
  DWORD written = 0;
  ::WriteFile(output.get(), prompt.data(), static_cast<DWORD>(prompt.size()), &written, nullptr);
  answer->clear();
  char block[1024];
  long got = 0;
  while ((got = readConsole(input.get(), block, sizeof block)) > 0) {
    answer->append(block, static_cast<std::size_t>(got));
    if (answer->back() == '\n') break;
  }
  while (!answer->empty() && answer->back() == '\n') answer->pop_back();
  showAgain();
  ::WriteFile(output.get(), "\r\n", 2, &written, nullptr);
  return true;
}

}  // namespace loom
