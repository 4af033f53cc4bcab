// SPDX-License-Identifier: MIT
// The message channel. Everything that the library tells a human goes through
// the object in `gOutput`; the library never prints by itself. A host that
// wants the messages elsewhere derives from GOutput, overrides output() and
// stores its object in `gOutput`:
//
//   class ToLog : public GOutput {
//    public:
//     void output(GOutputLevel level, const std::string& sys, const char* text) override;
//   };
//   ToLog toLog;
//   gOutput = &toLog;
#ifndef LOOMKIT_TEXT_OUTPUT_H
#define LOOMKIT_TEXT_OUTPUT_H

#include <map>
#include <string>

#include "loomkit/platform/export.h"
#include "loomkit/text/str_stream.h"

/// What kind of message travels. The values are fixed: a log line of log level
/// n travels as `GOutputLog0` + n, so every int from 7 up is a valid level.
enum GOutputLevel : int {
  GOutputMessage = 1,  ///< information for the user
  // 2 is reserved; nothing produces it.
  GOutputWarning = 3,
  GOutputError = 4,
  GOutputFatal = 5,
  GOutputSpecial = 6,  ///< text whose meaning the application defines
  GOutputLog0 = 7      ///< log line of log level 0
};

/// The abstract message channel: levels, system names and log filtering. A
/// system name is a short routing key such as "_data", and the first word of a
/// printed line.
///
/// No operation fails. Not locked: set levels and the default system during
/// set-up. Copies take the log levels and the default system along.
class LOOMKIT_API GOutput {
 public:
  GOutput();
  GOutput(const GOutput&);
  GOutput& operator=(const GOutput&);
  virtual ~GOutput();

  /// The destination: receives each message that was not filtered away. `text`
  /// is NUL-terminated and valid for the call.
  virtual void output(GOutputLevel level, const std::string& sys, const char* text) = 0;

  /// Sends the stream's current text; an empty stream sends "".
  void output(GOutputLevel level, const std::string& sys, GOStrStream& text);

  /// Level 1. The form without `sys` uses the default system, here and below.
  void message(const std::string& sys, const char* text);
  void message(const std::string& sys, GOStrStream& text);
  void message(const char* text);

  /// Level 3.
  void warning(const std::string& sys, const char* text);
  void warning(const std::string& sys, GOStrStream& text);
  void warning(const char* text);

  /// Level 4.
  void error(const std::string& sys, const char* text);
  void error(const std::string& sys, GOStrStream& text);
  void error(const char* text);

  /// Level 5. Whether the program ends is the destination's decision; with one
  /// that returns, the caller goes on and must be written for that.
  void fatal(const std::string& sys, const char* text);
  void fatal(const std::string& sys, GOStrStream& text);
  void fatal(const char* text);

  /// Level 6, always with the default system.
  void special(const char* text);

  /// The texts, joined without a separator, at the family's level with the
  /// default system. Requires: every argument is a `const char*`, `first` is
  /// not null, and a null pointer closes the list.
  void messageVar(const char* first, ...);
  void warningVar(const char* first, ...);
  void errorVar(const char* first, ...);
  void fatalVar(const char* first, ...);
  void specialVar(const char* first, ...);

  /// A log line: sent as level + 7 if getLogLevel(sys) >= level, else dropped.
  void log(int level, const std::string& sys, const char* text);
  void log(int level, const std::string& sys, GOStrStream& text);

  /// log(7, default system, text): filtered against 7, and sent as level 14.
  void logMessage(const char* text);

  /// Joins like messageVar() and sends at level 7 (log level 0) without any
  /// filter. It differs from logMessage() in both on purpose: hosts rely on
  /// these lines getting through at the initial level of -1.
  void logMessageVar(const char* first, ...);

  /// Sets the log level of one system, or the global one when `sys` is "*".
  void setLogLevel(const std::string& sys, int level);

  /// The effective level: the larger of the system's own level and the global
  /// one. An entry can raise a system above the global level, never lower it.
  [[nodiscard]] int getLogLevel(const std::string& sys) const;

  /// Replaces the system name used by the forms that take none.
  void setDefaultSys(const std::string& sys);

 private:
  std::map<std::string, int> sysLogLevels;
  int logLevel = -1;
  std::string defaultSys;
};

/// The default channel: prints "<sys> <kind>: <text>" and a line end, without
/// the system name's leading underscore. Level 1 goes to standard output; 3, 4,
/// 5 and log lines go to standard error; 2, 6 and anything below 1 are not
/// printed. After a level 5 line it asks for Enter on standard error, reads one
/// character from standard input and ends the process with exit(1).
///
/// One fprintf a line, so that lines of several threads do not mix.
class LOOMKIT_API GSystemOutput : public GOutput {
 public:
  GSystemOutput();
  GSystemOutput(const GSystemOutput&);
  GSystemOutput& operator=(const GSystemOutput&);
  ~GSystemOutput() override;

  void output(GOutputLevel level, const std::string& sys, const char* text) override;
  void output(GOutputLevel level, const std::string& sys, GOStrStream& text);
};

/// The channel. Set to a new GSystemOutput while the library is loaded; the
/// library never deletes it, so a host that stores its own object keeps both.
/// Requires: not null whenever library code runs.
extern LOOMKIT_API GOutput* gOutput;

/// Progress callback of the host; null at start.
extern LOOMKIT_API void (*gProgressCB)(int);

extern LOOMKIT_API std::string gGenSysName;   ///< "_generic": general code
extern LOOMKIT_API std::string gDataSysName;  ///< "_data": database and data code
extern LOOMKIT_API std::string g2DSysName;    ///< "_g2d": for clients

/// Calls gProgressCB(value) when it is set.
LOOMKIT_API void gProgress(int value);

/// Reports `prefix`, a blank and the system's text of the calling thread's last
/// error as an error. Without such a text, only `prefix` and the blank.
LOOMKIT_API void systemError(const char* prefix);

/// The same through GOutput::logMessageVar(), which no log level filters.
LOOMKIT_API void systemLog(const char* prefix);

#endif  // LOOMKIT_TEXT_OUTPUT_H
