// SPDX-License-Identifier: MIT
// The umbrella header: every public class and function of loomkit.
#ifndef LOOMKIT_LOOMKIT_H
#define LOOMKIT_LOOMKIT_H

#include "loomkit/platform/export.h"
#include "loomkit/rpn/err_msg.h"
#include "loomkit/rpn/eval.h"
#include "loomkit/rpn/extern_funcs.h"
#include "loomkit/rpn/function_table.h"
#include "loomkit/rpn/map_param_set.h"
#include "loomkit/rpn/param_set.h"
#include "loomkit/rpn/value.h"
#include "loomkit/rpn/words.h"
#include "loomkit/streams/directory.h"
#include "loomkit/streams/file.h"
#include "loomkit/streams/file_object.h"
#include "loomkit/streams/gzip_stream.h"
#include "loomkit/streams/mem_stream.h"
#include "loomkit/streams/z_stream.h"
#include "loomkit/system/process.h"
#include "loomkit/text/edit_distance.h"
#include "loomkit/text/gi_string.h"
#include "loomkit/text/literal.h"
#include "loomkit/text/number.h"
#include "loomkit/text/output.h"
#include "loomkit/text/path_name.h"
#include "loomkit/text/pattern.h"
#include "loomkit/text/str_stream.h"
#include "loomkit/text/string_util.h"
#include "loomkit/text/template.h"
#include "loomkit/text/uri.h"
#include "loomkit/version.h"

#endif  // LOOMKIT_LOOMKIT_H
