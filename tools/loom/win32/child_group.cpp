// SPDX-License-Identifier: MIT
// There are no signals: a program is ended from outside, whatever the name, and its exit
// code is what a shell says of a signal. Ctrl-C reaches all programs of a console by
// itself, and loom waits for what the others make of it.
#include "../child_group.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <vector>

#include "../interruption.h"
#include "loomkit/platform/win32/windows_api.h"

namespace loom {

namespace {

using loomkit::platform::OwnedHandle;

struct Name {
  const char* name;
  int number;
};
constexpr Name names[] = {{"HUP", 1},   {"INT", 2},   {"QUIT", 3},  {"KILL", 9},
                          {"USR1", 10}, {"USR2", 12}, {"ALRM", 14}, {"TERM", 15}};
constexpr int lastSignal = 64;
constexpr int signalBase = 128;  // what shells add to a signal's number

std::atomic<ChildGroup::Kind> kindOfGroup{ChildGroup::sharedGroup};
std::atomic<long> watched{0};
std::atomic<bool> passed{false};

// A job that holds loom, and so everything that is started from now on, too. It is never
// closed: the system keeps it as long as one of them runs.
HANDLE jobOfAll() {
  static const HANDLE job = [] {
    const HANDLE made = ::CreateJobObjectA(nullptr, nullptr);
    if (made != nullptr) ::AssignProcessToJobObject(made, ::GetCurrentProcess());
    return made;
  }();
  return job;
}

void terminate(DWORD id, int signal) {
  const OwnedHandle process(::OpenProcess(PROCESS_TERMINATE, FALSE, id));
  if (process.isOpen()) ::TerminateProcess(process.get(), static_cast<UINT>(signalBase + signal));
}

// The programs that loom or one of these has started.
std::vector<DWORD> programsOfJob() {
  constexpr std::size_t most = 4096;
  std::vector<std::byte> bytes(sizeof(JOBOBJECT_BASIC_PROCESS_ID_LIST) + most * sizeof(ULONG_PTR));
  auto* const list = reinterpret_cast<JOBOBJECT_BASIC_PROCESS_ID_LIST*>(bytes.data());
  std::vector<DWORD> programs;
  if (::QueryInformationJobObject(jobOfAll(), JobObjectBasicProcessIdList, list,
                                  static_cast<DWORD>(bytes.size()), nullptr) == 0)
    return programs;
  for (DWORD i = 0; i < list->NumberOfProcessIdsInList; ++i)
    programs.push_back(static_cast<DWORD>(list->ProcessIdList[i]));
  return programs;
}

BOOL WINAPI stay(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  passed = true;
  // A group of its own has no Ctrl-C from the console, but obeys this.
  const long child = watched;
  if (kindOfGroup == ChildGroup::ownGroup && child != 0)
    ::GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, static_cast<DWORD>(child));
  return TRUE;
}

}  // namespace

std::optional<int> signalNumber(const std::string& name) {
  int number = 0;
  const char* const end = name.data() + name.size();
  const auto [stop, error] = std::from_chars(name.data(), end, number);
  if (error == std::errc() && stop == end) {
    if (number > 0 && number <= lastSignal) return number;
    return std::nullopt;
  }
  const char* const text = name.c_str();
  const char* const plain = ::_strnicmp(text, "SIG", 3) == 0 ? text + 3 : text;
  for (const Name& known : names)
    if (::_stricmp(known.name, plain) == 0) return known.number;
  return std::nullopt;
}

int terminationSignal() { return 15; }
int killSignal() { return 9; }

ChildGroup::ChildGroup(Kind kind) {
  kindOfGroup = kind;
  watched = 0;
  passed = false;
  if (kind != justChild) jobOfAll();
  ::SetConsoleCtrlHandler(stay, TRUE);
}

ChildGroup::~ChildGroup() {
  watched = 0;
  ::SetConsoleCtrlHandler(stay, FALSE);
}

void ChildGroup::watch(long child) { watched = child; }

// The child comes first, lest one of the others tells it before.
void ChildGroup::send(int signal) {
  const auto child = static_cast<DWORD>(watched.load());
  if (child == 0) return;
  terminate(child, signal);
  if (kindOfGroup == justChild) return;
  for (const DWORD program : programsOfJob())
    if (program != ::GetCurrentProcessId()) terminate(program, signal);
}

bool ChildGroup::passedOn() { return passed; }

}  // namespace loom
