// SPDX-License-Identifier: MIT
// The lines that SQL drivers leave in the log. Private to the library.
#ifndef LOOMKIT_DB_SQL_LOG_LINE_H
#define LOOMKIT_DB_SQL_LOG_LINE_H

#include <string>

#include "loomkit/text/output.h"

namespace loomkit {

/// Logs a line at level 0, for whoever runs the host.
inline void logLine(const std::string& text) { gOutput->log(0, gDataSysName, text.c_str()); }

}  // namespace loomkit

#endif  // LOOMKIT_DB_SQL_LOG_LINE_H
