// SPDX-License-Identifier: MIT
// io_faults.h for Windows, by the means of imported_calls.h.
#include "tests/io_faults.h"

#include <windows.h>

#include <winternl.h>

#include <algorithm>
#include <cerrno>

#include "tests/windows/imported_calls.h"

namespace {

using loomkit::testing::IoFaults;

bool active = false;
IoFaults::Kind kind = IoFaults::Fail;
int chosen = 0;
int step = 1;
int error = 0;
int count = 0;

// True if this call is to fail. Nothing is ever interrupted here.
bool isToFail() {
  if (!active || kind == IoFaults::Short || kind == IoFaults::Storm) return false;
  ++count;
  if (kind == IoFaults::Kill && count >= chosen)
    ::TerminateProcess(::GetCurrentProcess(), killedCode);
  return kind == IoFaults::Fail && count >= chosen &&
         (step == 0 ? count == chosen : (count - chosen) % step == 0);
}

// The same, with the system's number for the error as the last one.
bool fails() {
  if (!isToFail()) return false;
  ::SetLastError(error == ENOSPC ? ERROR_DISK_FULL : ERROR_IO_DEVICE);
  return true;
}

NTSTATUS failure() {
  constexpr auto diskFull = static_cast<NTSTATUS>(0xC000007F);
  constexpr auto deviceError = static_cast<NTSTATUS>(0xC0000185);
  return error == ENOSPC ? diskFull : deviceError;
}

DWORD allowed(DWORD size) { return active && kind == IoFaults::Short ? std::min(size, 1UL) : size; }

HANDLE WINAPI createFile(LPCWSTR path, DWORD access, DWORD sharing, LPSECURITY_ATTRIBUTES rights,
                         DWORD disposition, DWORD flags, HANDLE model) {
  static const auto real = LOOMKIT_REAL("kernel32", CreateFileW);
  if (fails()) return INVALID_HANDLE_VALUE;
  return real(path, access, sharing, rights, disposition, flags, model);
}

BOOL WINAPI readFile(HANDLE file, LPVOID data, DWORD size, LPDWORD got, LPOVERLAPPED place) {
  static const auto real = LOOMKIT_REAL("kernel32", ReadFile);
  return fails() ? FALSE : real(file, data, allowed(size), got, place);
}

BOOL WINAPI writeFile(HANDLE file, LPCVOID data, DWORD size, LPDWORD got, LPOVERLAPPED place) {
  static const auto real = LOOMKIT_REAL("kernel32", WriteFile);
  return fails() ? FALSE : real(file, data, allowed(size), got, place);
}

BOOL WINAPI flushFileBuffers(HANDLE file) {
  static const auto real = LOOMKIT_REAL("kernel32", FlushFileBuffers);
  return fails() ? FALSE : real(file);
}

BOOL WINAPI setEndOfFile(HANDLE file) {
  static const auto real = LOOMKIT_REAL("kernel32", SetEndOfFile);
  return fails() ? FALSE : real(file);
}

BOOL WINAPI moveFileEx(LPCWSTR from, LPCWSTR to, DWORD flags) {
  static const auto real = LOOMKIT_REAL("kernel32", MoveFileExW);
  return fails() ? FALSE : real(from, to, flags);
}

}  // namespace

extern "C" {
decltype(&::CreateFileW) importedCreateFile LOOMKIT_IMPORT(CreateFileW, 28) = createFile;
decltype(&::ReadFile) importedReadFile LOOMKIT_IMPORT(ReadFile, 20) = readFile;
decltype(&::WriteFile) importedWriteFile LOOMKIT_IMPORT(WriteFile, 20) = writeFile;
decltype(&::FlushFileBuffers) importedFlush LOOMKIT_IMPORT(FlushFileBuffers, 4) = flushFileBuffers;
decltype(&::SetEndOfFile) importedSetEnd LOOMKIT_IMPORT(SetEndOfFile, 4) = setEndOfFile;
decltype(&::MoveFileExW) importedMove LOOMKIT_IMPORT(MoveFileExW, 12) = moveFileEx;

// These two are called by their own names.
NTSTATUS NTAPI NtCreateFile(PHANDLE file, ACCESS_MASK access, POBJECT_ATTRIBUTES name,
                            PIO_STATUS_BLOCK result, PLARGE_INTEGER size, ULONG attributes,
                            ULONG sharing, ULONG disposition, ULONG options, PVOID extended,
                            ULONG extendedSize) {
  static const auto real = LOOMKIT_REAL("ntdll", NtCreateFile);
  if (isToFail()) return failure();
  return real(file, access, name, result, size, attributes, sharing, disposition, options, extended,
              extendedSize);
}

NTSTATUS NTAPI NtSetInformationFile(HANDLE file, PIO_STATUS_BLOCK result, PVOID data, ULONG size,
                                    FILE_INFORMATION_CLASS what) {
  static const auto real = LOOMKIT_REAL("ntdll", NtSetInformationFile);
  return isToFail() ? failure() : real(file, result, data, size, what);
}
}

namespace loomkit::testing {

IoFaults::IoFaults(Kind faultKind, int chosenCall, int errorNumber, int everyStep) {
  kind = faultKind;
  chosen = chosenCall;
  error = errorNumber;
  step = everyStep;
  count = 0;
  active = true;
}
IoFaults::~IoFaults() { active = false; }
void IoFaults::refuseNamelessFiles(bool /*refuse*/) {}
int IoFaults::calls() { return count; }

}  // namespace loomkit::testing
