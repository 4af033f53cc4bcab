// SPDX-License-Identifier: MIT
#include "loomkit/platform/process.h"

#include <algorithm>
#include <memory>

#include "loomkit/platform/win32/error_codes.h"
#include "loomkit/platform/win32/running_children.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loomkit::platform {
namespace {

// A handle of this process's that a child is to have. The library's own handles are not
// inherited; the copies are, for as long as it takes to start the child.
OwnedHandle inheritableCopy(HANDLE handle) {
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE) return {};
  const HANDLE self = ::GetCurrentProcess();
  HANDLE copy = nullptr;
  if (::DuplicateHandle(self, handle, self, &copy, 0, TRUE, DUPLICATE_SAME_ACCESS) == 0) return {};
  return OwnedHandle(copy);
}

// The record with which a child is started: its three standard handles, which a child
// without a console of its own has from nowhere else.
class StartRecord {
 public:
  StartRecord(HANDLE in, HANDLE out, HANDLE err)
      : copies{inheritableCopy(in), inheritableCopy(out), inheritableCopy(err)} {
    info.StartupInfo.cb = sizeof info;
    info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    info.StartupInfo.hStdInput = copies[0].get();
    info.StartupInfo.hStdOutput = copies[1].get();
    info.StartupInfo.hStdError = copies[2].get();
    for (const OwnedHandle& copy : copies)
      if (copy.isOpen()) handles.push_back(copy.get());
  }
  StartRecord(const StartRecord&) = delete;
  StartRecord& operator=(const StartRecord&) = delete;
  ~StartRecord() {
    if (info.lpAttributeList != nullptr) ::DeleteProcThreadAttributeList(info.lpAttributeList);
  }

  // Says that no other handles are passed on, whatever else may be inherited meanwhile.
  bool passTheseAlone() {
    if (handles.empty()) return true;
    SIZE_T size = 0;
    ::InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    memory = std::make_unique<std::byte[]>(size);
    auto* const list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.get());
    if (::InitializeProcThreadAttributeList(list, 1, 0, &size) == 0) return false;
    info.lpAttributeList = list;
    return ::UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.data(),
                                       handles.size() * sizeof(HANDLE), nullptr, nullptr) != 0;
  }
  [[nodiscard]] bool passesHandles() const { return !handles.empty(); }
  STARTUPINFOA* get() { return &info.StartupInfo; }

 private:
  OwnedHandle copies[3];
  std::vector<HANDLE> handles;
  std::unique_ptr<std::byte[]> memory;
  STARTUPINFOEXA info{};
};

// The length of "NAME=". A name may begin with '=', as those of the drives' working
// directories do.
std::size_t nameLength(const char* variable) {
  std::size_t length = 1;
  while (variable[length - 1] != '\0' && variable[length] != '=' && variable[length] != '\0')
    ++length;
  return length + 1;
}

// Names of variables differ only by letters and not by their case.
bool sameVariable(const std::string& a, const char* b) {
  const std::size_t length = nameLength(b);
  return a.size() >= length && ::_strnicmp(a.c_str(), b, length) == 0;
}

// This process's environment, but for the variables that are given, as one block of
// texts with a NUL behind each and another one at its end.
std::string environmentWith(const std::vector<std::string>& variables) {
  std::string block;
  char* const own = ::GetEnvironmentStringsA();
  for (const char* variable = own; variable != nullptr && *variable != '\0';) {
    const std::string text = variable;
    const bool replaced =
        std::any_of(variables.begin(), variables.end(),
                    [&](const std::string& given) { return sameVariable(given, text.c_str()); });
    if (!replaced) block.append(text.c_str(), text.size() + 1);
    variable += text.size() + 1;
  }
  if (own != nullptr) ::FreeEnvironmentStringsA(own);
  for (const std::string& variable : variables) block.append(variable.c_str(), variable.size() + 1);
  block += '\0';
  return block;
}

// A program without a console would open one for each console program that it starts.
bool hasConsole() {
  return OwnedHandle(::CreateFileA("CONOUT$", GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr))
      .isOpen();
}

DWORD flagsFor(const StartOptions& options) {
  DWORD flags = EXTENDED_STARTUPINFO_PRESENT;
  if (!hasConsole()) flags |= DETACHED_PROCESS;
  // It is put into its job before it runs, so that nothing that it starts escapes.
  if (options.ownGroup) flags |= CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
  return flags;
}

bool create(const std::string& commandLine, const StartOptions& options, bool passesHandles,
            STARTUPINFOA* start, PROCESS_INFORMATION* made) {
  std::string line = commandLine;  // the system may write into it
  std::string environment;
  if (!options.variables.empty()) environment = environmentWith(options.variables);
  const char* const directory = options.directory.empty() ? nullptr : options.directory.c_str();
  return succeeded(::CreateProcessA(nullptr, line.data(), nullptr, nullptr,
                                    passesHandles ? TRUE : FALSE, flagsFor(options),
                                    environment.empty() ? nullptr : environment.data(), directory,
                                    start, made) != 0);
}

// A job that holds the process; none where the system refuses, which one that is in a
// job itself may do.
OwnedHandle jobWith(HANDLE process) {
  OwnedHandle job(::CreateJobObjectA(nullptr, nullptr));
  if (job.isOpen() && ::AssignProcessToJobObject(job.get(), process) == 0) return {};
  return job;
}

// The standard handles of a child: this process's own, or those that are given, of which
// 0 is this process's standard input.
StartRecord recordFor(int in, int out, int err, bool inheritAll) {
  const HANDLE ownIn = ::GetStdHandle(STD_INPUT_HANDLE);
  if (inheritAll)
    return {ownIn, ::GetStdHandle(STD_OUTPUT_HANDLE), ::GetStdHandle(STD_ERROR_HANDLE)};
  return {in == 0 ? ownIn : systemHandle(in), systemHandle(out), systemHandle(err)};
}

constexpr unsigned terminatedCode = 1;

bool unknown(ChildProcess* child) {
  *child = ChildProcess{};
  return failed(ERROR_INVALID_HANDLE);
}

DWORD millisecondsOf(int milliseconds) { return static_cast<DWORD>(std::max(milliseconds, 0)); }

}  // namespace

bool startProcess(const std::string& commandLine, int in, int out, int err,
                  const StartOptions& options, ChildProcess* child) {
  if (commandLine.find_first_not_of(" \t") == std::string::npos)
    return failed(ERROR_FILE_NOT_FOUND);
  StartRecord record = recordFor(in, out, err, options.inheritAll);
  if (!options.inheritAll && !record.passTheseAlone()) return succeeded(false);
  const bool passesHandles = options.inheritAll || record.passesHandles();
  PROCESS_INFORMATION made{};
  if (!create(commandLine, options, passesHandles, record.get(), &made)) return false;
  const OwnedHandle thread(made.hThread);
  OwnedHandle process(made.hProcess);
  OwnedHandle job;
  if (options.ownGroup) {
    job = jobWith(process.get());
    ::ResumeThread(thread.get());
  }
  // A program with windows is to be ready for messages; others do not make this wait.
  constexpr DWORD longestStart = 5000;
  ::WaitForInputIdle(process.get(), longestStart);
  const auto id = static_cast<long>(made.dwProcessId);
  rememberChild(id, std::move(process), std::move(job));
  *child = ChildProcess{id, false};
  return true;
}

bool terminateProcess(ChildProcess* child) {
  const HANDLE process = processOf(child->id);
  if (process == nullptr) return unknown(child);
  if (::TerminateProcess(process, terminatedCode) == 0) return succeeded(false);
  child->terminated = true;
  return true;
}

bool terminateGroup(ChildProcess* child) {
  const HANDLE job = jobOf(child->id);
  if (job == nullptr) return terminateProcess(child);
  if (::TerminateJobObject(job, terminatedCode) == 0) return succeeded(false);
  child->terminated = true;
  return true;
}

bool processExitCode(ChildProcess* child, unsigned* code) {
  const HANDLE process = processOf(child->id);
  if (process == nullptr) return unknown(child);
  DWORD found = 0;
  if (::GetExitCodeProcess(process, &found) == 0) return succeeded(false);
  *code = found;
  if (found == stillActive) return true;
  forgetChild(child->id);
  *child = ChildProcess{};
  return true;
}

bool waitForEnd(const ChildProcess& child) {
  const HANDLE process = processOf(child.id);
  if (process == nullptr) return failed(ERROR_INVALID_HANDLE);
  return succeeded(::WaitForSingleObject(process, INFINITE) != WAIT_FAILED);
}

bool waitForEnd(const ChildProcess& child, int milliseconds) {
  const HANDLE process = processOf(child.id);
  // A child that is not known any more is one that has ended.
  return process == nullptr ||
         ::WaitForSingleObject(process, millisecondsOf(milliseconds)) != WAIT_TIMEOUT;
}

}  // namespace loomkit::platform
