// SPDX-License-Identifier: MIT
// The umbrella header: every public class and function of loomkit.
#ifndef LOOMKIT_LOOMKIT_H
#define LOOMKIT_LOOMKIT_H

#include "loomkit/platform/export.h"
#include "loomkit/text/output.h"
#include "loomkit/text/str_stream.h"
#include "loomkit/version.h"

#endif  // LOOMKIT_LOOMKIT_H
