// SPDX-License-Identifier: MIT
#include "loomkit/system/mem_dbg.h"

#include <ostream>

void gMemDbgStartRecording() {}
void gMemDbgStopRecording() {}
void gMemDbgResetRecording() {}

void gMemDbgDump(std::ostream& stream) { stream << "memory debugging not compiled in"; }

void gMemDbgGetStatistic(GMemDbgStat* statistic) { *statistic = {0, 0}; }
